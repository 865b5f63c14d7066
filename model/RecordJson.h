#pragma once

// The JSON form of the records: what the saved project and `vimbo probe` write. Decoding is
// strict: a missing key, a value of the wrong type or an unknown enumeration text fails the
// whole value (nullopt), so a damaged document is never half read.

#include "model/Clip.h"
#include "model/Layout.h"
#include "model/MediaInfo.h"

#include <QByteArray>
#include <QJsonObject>
#include <QJsonValue>

#include <optional>

namespace vimbo {

QString mediaKindText(MediaKind kind);
QString frameShapeText(FrameShape shape);
QString fillModeText(FillMode fill);
std::optional<FrameShape> frameShapeFromText(const QString& text);
std::optional<FillMode> fillModeFromText(const QString& text);

QJsonObject toJson(const ClipEdits& edits);
QJsonObject toJson(const Clip& clip);
QJsonObject toJson(const Layout& layout);
QJsonObject toJson(const MediaInfo& info);

// The saved project's records; what `vimbo probe` writes is never read back.
std::optional<Clip> clipFromJson(const QJsonValue& value);
std::optional<Layout> layoutFromJson(const QJsonValue& value);

// Dates travel as seconds since 2001-01-01 00:00:00 UTC.
double secondsSinceReferenceDate(const QDateTime& date);

// Compact UTF-8 JSON with every slash written as \/, the form the saved project has always had.
QByteArray compactJson(const QJsonObject& object);

namespace json {

// Strict typed access to a JSON object, for the decoders here and the documents built on them.
// Every accessor throws Invalid on a missing key or a wrong type.
struct Invalid {};

class Reader {
public:
    explicit Reader(const QJsonValue& value);

    bool has(const QString& key) const { return object_.contains(key); }
    QJsonValue value(const QString& key) const;
    double number(const QString& key) const;
    std::int64_t integer(const QString& key) const;
    bool boolean(const QString& key) const;
    QString string(const QString& key) const;
    QJsonArray array(const QString& key) const;

private:
    QJsonObject object_;
};

// Runs a decoder that throws Invalid and turns the throw into nullopt.
template <typename F>
auto decodeOrNull(F&& decode) -> std::optional<decltype(decode())> {
    try {
        return decode();
    } catch (const Invalid&) {
        return std::nullopt;
    }
}

} // namespace json
} // namespace vimbo
