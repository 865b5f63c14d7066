#include "model/NaturalOrder.h"

#include <QCollator>

namespace vimbo {
namespace {

// Splits off the leading run of digits or of non-digits.
QStringView run(QStringView text) {
    const bool digits = text.front().isDigit();
    qsizetype n = 1;
    while (n < text.size() && text[n].isDigit() == digits)
        ++n;
    return text.left(n);
}

// Compares two runs of digits by value, however long: fewer significant digits is smaller.
int compareNumbers(QStringView a, QStringView b) {
    auto significant = [](QStringView s) {
        qsizetype zeros = 0;
        while (zeros + 1 < s.size() && s[zeros] == QLatin1Char('0'))
            ++zeros;
        return s.mid(zeros);
    };
    const QStringView x = significant(a), y = significant(b);
    if (x.size() != y.size())
        return x.size() < y.size() ? -1 : 1;
    for (qsizetype i = 0; i < x.size(); ++i)
        if (x[i] != y[i])
            return x[i].digitValue() < y[i].digitValue() ? -1 : 1;
    return 0;
}

int compareText(QStringView a, QStringView b) {
    // A collator is not safe to share between threads; one per thread costs little.
    thread_local const QCollator collator = [] {
        QCollator c;
        c.setCaseSensitivity(Qt::CaseInsensitive);
        return c;
    }();
    return collator.compare(a, b);
}

} // namespace

// Runs of digits are compared here rather than by QCollator's numeric mode, which some locales
// (the C locale among them) silently ignore: the order must not depend on the machine's setup.
int naturalCompare(const QString& a, const QString& b) {
    QStringView x(a), y(b);
    while (!x.isEmpty() && !y.isEmpty()) {
        const QStringView rx = run(x), ry = run(y);
        int c = 0;
        if (rx.front().isDigit() && ry.front().isDigit())
            c = compareNumbers(rx, ry);
        else
            c = compareText(rx, ry);
        if (c != 0)
            return c < 0 ? -1 : 1;
        x = x.mid(rx.size());
        y = y.mid(ry.size());
    }
    if (x.isEmpty() != y.isEmpty())
        return x.isEmpty() ? -1 : 1;
    return 0;
}

} // namespace vimbo
