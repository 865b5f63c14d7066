#include "model/RecordJson.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QTimeZone>

#include <array>
#include <cmath>
#include <utility>

namespace vimbo {
namespace {

// Seconds from the Unix epoch to 2001-01-01 00:00:00 UTC.
constexpr double referenceDateOffset = 978307200.0;

template <typename Enum, std::size_t N>
std::optional<Enum> fromText(const std::array<std::pair<Enum, const char*>, N>& table,
                             const QString& text) {
    for (const auto& [value, name] : table)
        if (text == QLatin1String(name))
            return value;
    return std::nullopt;
}

template <typename Enum, std::size_t N>
QString toText(const std::array<std::pair<Enum, const char*>, N>& table, Enum value) {
    for (const auto& [v, name] : table)
        if (v == value)
            return QString::fromLatin1(name);
    return {};
}

constexpr std::array<std::pair<MediaKind, const char*>, 4> kindNames{{
    {MediaKind::video, "video"},
    {MediaKind::photo, "photo"},
    {MediaKind::unsupported, "unsupported"},
    {MediaKind::missing, "missing"},
}};
constexpr std::array<std::pair<FrameShape, const char*>, 5> shapeNames{{
    {FrameShape::auto_, "auto"},
    {FrameShape::wide, "wide"},
    {FrameShape::tall, "tall"},
    {FrameShape::square, "square"},
    {FrameShape::portrait, "portrait"},
}};
constexpr std::array<std::pair<FillMode, const char*>, 2> fillNames{{
    {FillMode::fit, "fit"},
    {FillMode::fill, "fill"},
}};

QJsonArray sizeJson(const Size& s) {
    return {s.width, s.height};
}

QJsonArray transformJson(const AffineTransform& t) {
    return {t.a, t.b, t.c, t.d, t.tx, t.ty};
}

QUuid uuidFrom(const QString& text) {
    static const QRegularExpression form(QStringLiteral(
        "^[0-9A-Fa-f]{8}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{12}$"));
    if (!form.match(text).hasMatch())
        throw json::Invalid{};
    return QUuid::fromString(text);
}

QUrl urlFrom(const QString& text) {
    QUrl url(text, QUrl::StrictMode);
    if (text.isEmpty() || !url.isValid())
        throw json::Invalid{};
    return url;
}

QByteArray dataFrom(const QString& text) {
    auto decoded =
        QByteArray::fromBase64Encoding(text.toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded)
        throw json::Invalid{};
    return *decoded;
}

template <typename Enum>
Enum enumFrom(std::optional<Enum> value) {
    if (!value)
        throw json::Invalid{};
    return *value;
}

ClipEdits decodeEdits(const QJsonValue& value) {
    const json::Reader r(value);
    ClipEdits e;
    e.trimStart = r.number(QStringLiteral("trimStart"));
    e.trimEnd = r.number(QStringLiteral("trimEnd"));
    e.speed = r.number(QStringLiteral("speed"));
    e.muted = r.boolean(QStringLiteral("muted"));
    e.quarterTurns = r.integer(QStringLiteral("quarterTurns"));
    e.photoDuration = r.number(QStringLiteral("photoDuration"));
    return e;
}

Layout decodeLayout(const QJsonValue& value) {
    const json::Reader r(value);
    return {enumFrom(frameShapeFromText(r.string(QStringLiteral("shape")))),
            enumFrom(fillModeFromText(r.string(QStringLiteral("fill"))))};
}

Clip decodeClip(const QJsonValue& value) {
    const json::Reader r(value);
    Clip clip;
    clip.id = uuidFrom(r.string(QStringLiteral("id")));
    clip.url = urlFrom(r.string(QStringLiteral("url")));
    if (r.has(QStringLiteral("bookmark")))
        clip.bookmark = dataFrom(r.string(QStringLiteral("bookmark")));
    clip.edits = decodeEdits(r.value(QStringLiteral("edits")));
    clip.added = r.integer(QStringLiteral("added"));
    clip.imported = r.boolean(QStringLiteral("imported"));
    return clip;
}

} // namespace

QString mediaKindText(MediaKind kind) {
    return toText(kindNames, kind);
}
QString frameShapeText(FrameShape shape) {
    return toText(shapeNames, shape);
}
QString fillModeText(FillMode fill) {
    return toText(fillNames, fill);
}
std::optional<FrameShape> frameShapeFromText(const QString& text) {
    return fromText(shapeNames, text);
}
std::optional<FillMode> fillModeFromText(const QString& text) {
    return fromText(fillNames, text);
}

double secondsSinceReferenceDate(const QDateTime& date) {
    return static_cast<double>(date.toMSecsSinceEpoch()) / 1000.0 - referenceDateOffset;
}

QJsonObject toJson(const ClipEdits& e) {
    return {
        {QStringLiteral("trimStart"), e.trimStart},
        {QStringLiteral("trimEnd"), e.trimEnd},
        {QStringLiteral("speed"), e.speed},
        {QStringLiteral("muted"), e.muted},
        {QStringLiteral("quarterTurns"), static_cast<qint64>(e.quarterTurns)},
        {QStringLiteral("photoDuration"), e.photoDuration},
    };
}

QJsonObject toJson(const Clip& clip) {
    QJsonObject o{
        {QStringLiteral("id"), uuidText(clip.id)},
        {QStringLiteral("url"), clip.url.toString(QUrl::FullyEncoded)},
        {QStringLiteral("edits"), toJson(clip.edits)},
        {QStringLiteral("added"), static_cast<qint64>(clip.added)},
        {QStringLiteral("imported"), clip.imported},
    };
    if (clip.bookmark)
        o.insert(QStringLiteral("bookmark"), QString::fromLatin1(clip.bookmark->toBase64()));
    return o;
}

QJsonObject toJson(const Layout& layout) {
    return {{QStringLiteral("shape"), frameShapeText(layout.shape)},
            {QStringLiteral("fill"), fillModeText(layout.fill)}};
}

QJsonObject toJson(const MediaInfo& info) {
    QJsonObject o{
        {QStringLiteral("kind"), mediaKindText(info.kind)},
        {QStringLiteral("size"), sizeJson(info.size)},
        {QStringLiteral("duration"), info.duration},
        {QStringLiteral("frameRate"), static_cast<double>(info.frameRate)},
        {QStringLiteral("hasAudio"), info.hasAudio},
        {QStringLiteral("isHDR"), info.isHDR},
        {QStringLiteral("codec"), info.codec},
        {QStringLiteral("audioFormat"), info.audioFormat},
        {QStringLiteral("naturalSize"), sizeJson(info.naturalSize)},
        {QStringLiteral("transform"), transformJson(info.transform)},
    };
    if (info.dateTaken)
        o.insert(QStringLiteral("dateTaken"), secondsSinceReferenceDate(*info.dateTaken));
    return o;
}

std::optional<Clip> clipFromJson(const QJsonValue& value) {
    return json::decodeOrNull([&] { return decodeClip(value); });
}
std::optional<Layout> layoutFromJson(const QJsonValue& value) {
    return json::decodeOrNull([&] { return decodeLayout(value); });
}
QByteArray compactJson(const QJsonObject& object) {
    // A slash can only occur inside a string in JSON text, so escaping it everywhere is exact.
    QByteArray bytes = QJsonDocument(object).toJson(QJsonDocument::Compact);
    return bytes.replace('/', "\\/");
}

namespace json {
namespace {

double numberIn(const QJsonValue& value) {
    if (!value.isDouble())
        throw Invalid{};
    return value.toDouble();
}

std::int64_t integerIn(const QJsonValue& value) {
    if (!value.isDouble())
        throw Invalid{};
    // Qt keeps integral JSON numbers exactly; anything with a fraction is not an integer.
    const QVariant v = value.toVariant();
    if (v.typeId() == QMetaType::LongLong)
        return v.toLongLong();
    const double d = value.toDouble();
    if (d != std::trunc(d) || std::abs(d) > 9.007199254740992e15)
        throw Invalid{};
    return static_cast<std::int64_t>(d);
}

} // namespace

Reader::Reader(const QJsonValue& value) {
    if (!value.isObject())
        throw Invalid{};
    object_ = value.toObject();
}

QJsonValue Reader::value(const QString& key) const {
    const auto it = object_.constFind(key);
    if (it == object_.constEnd())
        throw Invalid{};
    return *it;
}

double Reader::number(const QString& key) const {
    return numberIn(value(key));
}

std::int64_t Reader::integer(const QString& key) const {
    return integerIn(value(key));
}

bool Reader::boolean(const QString& key) const {
    const QJsonValue v = value(key);
    if (!v.isBool())
        throw Invalid{};
    return v.toBool();
}

QString Reader::string(const QString& key) const {
    const QJsonValue v = value(key);
    if (!v.isString())
        throw Invalid{};
    return v.toString();
}

QJsonArray Reader::array(const QString& key) const {
    const QJsonValue v = value(key);
    if (!v.isArray())
        throw Invalid{};
    return v.toArray();
}

} // namespace json
} // namespace vimbo
