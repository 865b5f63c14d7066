#include "model/NaturalOrder.h"

#include <QCollator>

namespace vimbo {

int naturalCompare(const QString& a, const QString& b) {
    // A collator is not safe to share between threads; one per thread costs little.
    thread_local const QCollator collator = [] {
        QCollator c;
        c.setNumericMode(true);
        c.setCaseSensitivity(Qt::CaseInsensitive);
        return c;
    }();
    return collator.compare(a, b);
}

} // namespace vimbo
