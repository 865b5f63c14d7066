#include "model/JsonWriter.h"

#include <charconv>
#include <cstdio>
#include <system_error>

namespace vimbo {

void JsonWriter::separate() {
    if (!first_)
        out_ += ',';
    first_ = false;
}

void JsonWriter::beginObject() {
    separate();
    out_ += '{';
    first_ = true;
}

void JsonWriter::endObject() {
    out_ += '}';
    first_ = false;
}

void JsonWriter::beginArray() {
    separate();
    out_ += '[';
    first_ = true;
}

void JsonWriter::endArray() {
    out_ += ']';
    first_ = false;
}

void JsonWriter::key(const char* name) {
    separate();
    out_ += '"';
    out_ += name;
    out_ += "\":";
    first_ = true; // the value that follows needs no comma
}

void JsonWriter::string(QStringView text) {
    separate();
    out_ += '"';
    const QByteArray utf8 = text.toUtf8();
    for (const char c : utf8) {
        switch (c) {
        case '"':
            out_ += "\\\"";
            break;
        case '\\':
            out_ += "\\\\";
            break;
        case '/':
            out_ += "\\/";
            break;
        case '\n':
            out_ += "\\n";
            break;
        case '\r':
            out_ += "\\r";
            break;
        case '\t':
            out_ += "\\t";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                char escaped[8];
                std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
                out_ += escaped;
            } else {
                out_ += c;
            }
        }
    }
    out_ += '"';
}

void JsonWriter::number(double value) {
    separate();
    char buffer[32];
    const auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
    out_.append(buffer, end - buffer);
}

void JsonWriter::integer(std::int64_t value) {
    separate();
    char buffer[24];
    const auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
    out_.append(buffer, end - buffer);
}

void JsonWriter::boolean(bool value) {
    separate();
    out_ += value ? "true" : "false";
}

} // namespace vimbo
