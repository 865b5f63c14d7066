#include "model/RecordJson.h"
#include "model/Segment.h"
#include "model/SessionStore.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>

namespace vimbo {
namespace {

Segment video(double duration, double trimStart = 0, double trimEnd = 0, double speed = 1) {
    MediaInfo info(MediaKind::video);
    info.duration = duration;
    info.size = {1920, 1080};
    ClipEdits e;
    e.trimStart = trimStart;
    e.trimEnd = trimEnd;
    e.speed = speed;
    return {QUrl::fromLocalFile(QStringLiteral("/v.mov")), info, e};
}

TEST(Segment, TrimKeepsATenthInsideTheMediaAndDurationFollowsKindSpeedAndTurns) {
    const double cases[][5] = {
        // duration, trim start, trim end → lower, upper
        {10, 0, 0, 0, 10},  {10, 4, 5, 4, 5},      {10, 9.95, 0, 9.9, 10},
        {10, 6, 6, 6, 6.1}, {0, 0, 0, 0, 0},       {10, 2, -3, 2, 10},
        {10, -2, 1, 0, 9},  {10, 50, 50, 9.9, 10}, {0.05, 0, 0, 0, 0.05},
    };
    for (const auto& c : cases) {
        const auto r = video(c[0], c[1], c[2]).trimmedRange();
        EXPECT_NEAR(r.lower, c[3], 1e-12) << c[0] << " " << c[1] << " " << c[2];
        EXPECT_NEAR(r.upper, c[4], 1e-12) << c[0] << " " << c[1] << " " << c[2];
    }
    EXPECT_DOUBLE_EQ(video(10, 4, 5, 2).duration(), 0.5);
    EXPECT_DOUBLE_EQ(video(10, 0, 0, 0.25).duration(), 40);

    Segment photo{QUrl(), MediaInfo(MediaKind::photo), {}};
    EXPECT_DOUBLE_EQ(photo.duration(), 3);
    photo.edits.photoDuration = 0.05;
    EXPECT_DOUBLE_EQ(photo.duration(), 0.1);
    Segment missing = video(10);
    missing.info.kind = MediaKind::missing;
    EXPECT_EQ(missing.duration(), 0);
    missing.info.kind = MediaKind::unsupported;
    EXPECT_EQ(missing.duration(), 0);

    for (std::int64_t turns : {-3, -2, -1, 0, 1, 2, 3, 4, 5}) {
        Segment s = video(1);
        s.edits.quarterTurns = turns;
        EXPECT_EQ(s.displaySize(), (turns % 2 ? Size{1080, 1920} : Size{1920, 1080})) << turns;
    }
}

Clip sampleClip() {
    Clip clip;
    clip.id = QUuid::fromString(QStringLiteral("e621e1f8-c36c-495a-93fc-0c247a3e6e5f"));
    clip.url = QUrl::fromLocalFile(QStringLiteral("/home/ann/My Movies/Été #1.mov"));
    clip.bookmark = QByteArray("\x01\x02\xff path", 8);
    clip.edits = video(1, 1.5, 2, 0.25).edits;
    clip.edits.muted = true;
    clip.edits.quarterTurns = 3;
    clip.edits.photoDuration = 4.5;
    clip.added = 7;
    return clip;
}

TEST(RecordJson, ClipAndMediaInfoHaveTheirStoredForm) {
    const QJsonObject o = toJson(sampleClip());
    EXPECT_EQ(o.keys(), (QStringList{"added", "bookmark", "edits", "id", "imported", "url"}));
    EXPECT_EQ(o["id"].toString(), QStringLiteral("E621E1F8-C36C-495A-93FC-0C247A3E6E5F"));
    EXPECT_EQ(o["url"].toString(),
              QStringLiteral("file:///home/ann/My%20Movies/%C3%89t%C3%A9%20%231.mov"));
    EXPECT_EQ(o["bookmark"].toString(), QStringLiteral("AQL/IHBhdGg="));
    EXPECT_EQ(o["edits"].toObject().keys(), (QStringList{"muted", "photoDuration", "quarterTurns",
                                                         "speed", "trimEnd", "trimStart"}));
    const QByteArray text = compactJson(o);
    EXPECT_TRUE(text.contains(R"("url":"file:\/\/\/home\/ann\/My%20Movies)")) << text.data();
    EXPECT_FALSE(text.contains(' '));
    EXPECT_EQ(toJson(Layout{FrameShape::portrait, FillMode::fit}),
              (QJsonObject{{"shape", "portrait"}, {"fill", "fit"}}));

    MediaInfo info(MediaKind::video);
    info.size = {1080, 1920};
    info.dateTaken = QDateTime(QDate(2023, 7, 14), QTime(16, 2, 33), Qt::UTC);
    info.transform = {0, 1, -1, 0, 1080, 0};
    const QJsonObject i = toJson(info);
    EXPECT_EQ(i["kind"].toString(), QStringLiteral("video"));
    EXPECT_DOUBLE_EQ(i["dateTaken"].toDouble(), 711043353.0); // seconds since 2001
    EXPECT_EQ(i["transform"].toArray(), (QJsonArray{0, 1, -1, 0, 1080, 0}));
    EXPECT_EQ(i["size"].toArray(), (QJsonArray{1080, 1920}));
    EXPECT_FALSE(toJson(MediaInfo(MediaKind::missing)).contains("dateTaken"));
}

// Damaged fields are refused through the session file; these are the lenient readings.
TEST(RecordJson, ReadsALowerCaseIdAndNoBookmark) {
    QJsonObject o = toJson(sampleClip());
    o["id"] = "e621e1f8-c36c-495a-93fc-0c247a3e6e5f";
    EXPECT_EQ(clipFromJson(o), sampleClip());
    o.remove("bookmark");
    const auto noBookmark = clipFromJson(o);
    ASSERT_TRUE(noBookmark);
    EXPECT_FALSE(noBookmark->bookmark);
    EXPECT_FALSE(layoutFromJson(QJsonObject{{"shape", "wide"}}));
}

TEST(SavedJson, RoundTripsExactlyAndRefusesWhatJsonCannotHold) {
    Saved saved;
    saved.layout = {FrameShape::portrait, FillMode::fill};
    saved.nextAdded = 9007199254740993; // beyond a double's exact integers
    Clip odd = sampleClip();
    odd.url = QUrl::fromLocalFile(QStringLiteral("/tmp/a \"quoted\\\" name\t€/x.mov"));
    odd.edits.trimStart = 0.1;
    odd.edits.speed = 1e-7;
    Clip plain = sampleClip();
    plain.id = QUuid::createUuid();
    plain.bookmark.reset();
    plain.imported = true;
    saved.clips = {odd, plain};

    const auto bytes = encodeSaved(saved);
    ASSERT_TRUE(bytes);
    EXPECT_EQ(QJsonDocument::fromJson(*bytes).object().keys(),
              (QStringList{"clips", "layout", "nextAdded"}));
    EXPECT_EQ(decodeSaved(*bytes), saved);

    saved.clips[1].edits.trimEnd = std::numeric_limits<double>::infinity();
    EXPECT_FALSE(encodeSaved(saved));
}

} // namespace
} // namespace vimbo
