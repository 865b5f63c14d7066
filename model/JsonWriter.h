#pragma once

#include <QByteArray>
#include <QStringView>

#include <cstdint>

namespace vimbo {

// Writes compact JSON straight into bytes, in the saved project's dialect: slashes escaped as
// \/, numbers in their shortest exact form. Far cheaper than building a QJsonDocument, which
// matters because the project is encoded on the interface thread after every change.
// The caller keeps the structure well formed; separators between members are automatic.
class JsonWriter {
public:
    void beginObject();
    void endObject();
    void beginArray();
    void endArray();
    void key(const char* name); // a plain ASCII name that needs no escaping

    void string(QStringView text);
    // Numbers must be finite; JSON has no spelling for the others.
    void number(double value);
    void integer(std::int64_t value);
    void boolean(bool value);

    const QByteArray& bytes() const { return out_; }

private:
    void separate();

    QByteArray out_;
    bool first_ = true; // nothing written yet in the innermost object or array
};

} // namespace vimbo
