#include "model/RecordJson.h"
#include "model/Segment.h"
#include "model/SessionStore.h"
#include "model/VimboError.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>

namespace vimbo {
namespace {

Segment video(double duration, ClipEdits edits = {}) {
    MediaInfo info(MediaKind::video);
    info.duration = duration;
    info.size = {1920, 1080};
    return {QUrl::fromLocalFile(QStringLiteral("/v.mov")), info, edits};
}

ClipEdits trims(double start, double end, double speed = 1) {
    ClipEdits e;
    e.trimStart = start;
    e.trimEnd = end;
    e.speed = speed;
    return e;
}

TEST(Segment, TrimmedRangeKeepsAtLeastATenthInsideTheMedia) {
    struct Case {
        double duration, trimStart, trimEnd, lower, upper;
    };
    const Case cases[] = {
        {10, 0, 0, 0, 10},  {10, 4, 5, 4, 5},      {10, 9.95, 0, 9.9, 10},
        {10, 6, 6, 6, 6.1}, {0, 0, 0, 0, 0},       {10, 2, -3, 2, 10},
        {10, -2, 1, 0, 9},  {10, 50, 50, 9.9, 10}, {0.05, 0, 0, 0, 0.05},
    };
    for (const Case& c : cases) {
        const auto r = video(c.duration, trims(c.trimStart, c.trimEnd)).trimmedRange();
        EXPECT_NEAR(r.lower, c.lower, 1e-12) << c.duration << " " << c.trimStart;
        EXPECT_NEAR(r.upper, c.upper, 1e-12) << c.duration << " " << c.trimStart;
    }
}

TEST(Segment, DurationByKind) {
    EXPECT_DOUBLE_EQ(video(10, trims(4, 5, 2)).duration(), 0.5);
    EXPECT_DOUBLE_EQ(video(10, trims(0, 0, 0.25)).duration(), 40);
    EXPECT_DOUBLE_EQ(video(0).duration(), 0);

    Segment photo{QUrl(), MediaInfo(MediaKind::photo), {}};
    EXPECT_DOUBLE_EQ(photo.duration(), 3);
    photo.edits.photoDuration = 0.05;
    EXPECT_DOUBLE_EQ(photo.duration(), 0.1);

    Segment missing{QUrl(), MediaInfo(MediaKind::missing), trims(0, 0)};
    missing.info.duration = 10;
    EXPECT_EQ(missing.duration(), 0);
    missing.info.kind = MediaKind::unsupported;
    EXPECT_EQ(missing.duration(), 0);
}

TEST(Segment, DisplaySizeSwapsOnOddTurnsOfAnySign) {
    for (std::int64_t turns : {1, 3, -1, -3, 5}) {
        Segment s = video(1);
        s.edits.quarterTurns = turns;
        EXPECT_EQ(s.displaySize(), (Size{1080, 1920})) << turns;
    }
    for (std::int64_t turns : {0, 2, 4, -2}) {
        Segment s = video(1);
        s.edits.quarterTurns = turns;
        EXPECT_EQ(s.displaySize(), (Size{1920, 1080})) << turns;
    }
}

TEST(VimboError, DescriptionsAreTheUserFacingSentences) {
    const auto unreadable =
        VimboError::unreadable(QUrl::fromLocalFile(QStringLiteral("/a/b/Holiday.mov")));
    EXPECT_EQ(unreadable.errorDescription(), QStringLiteral("“Holiday.mov” can’t be read."));
    EXPECT_STREQ(unreadable.what(), "“Holiday.mov” can’t be read.");
    EXPECT_EQ(VimboError::nothingToMerge().errorDescription(),
              QStringLiteral("There is nothing to merge."));
    EXPECT_EQ(VimboError::exportFailed(QStringLiteral("Disk full.")).errorDescription(),
              QStringLiteral("Disk full."));
    EXPECT_NE(VimboError::exportFailed(QStringLiteral("a")),
              VimboError::exportFailed(QStringLiteral("b")));
}

TEST(FrameShape, RatioNames) {
    EXPECT_FALSE(ratioName(FrameShape::auto_));
    EXPECT_EQ(ratioName(FrameShape::wide), QStringLiteral("16:9"));
    EXPECT_EQ(ratioName(FrameShape::tall), QStringLiteral("9:16"));
    EXPECT_EQ(ratioName(FrameShape::square), QStringLiteral("1:1"));
    EXPECT_EQ(ratioName(FrameShape::portrait), QStringLiteral("4:5"));
}

Clip sampleClip() {
    Clip clip;
    clip.id = QUuid::fromString(QStringLiteral("e621e1f8-c36c-495a-93fc-0c247a3e6e5f"));
    clip.url = QUrl::fromLocalFile(QStringLiteral("/home/ann/My Movies/Été #1.mov"));
    clip.bookmark = QByteArray("\x01\x02\xff path", 8);
    clip.edits = trims(1.5, 2, 0.25);
    clip.edits.muted = true;
    clip.edits.quarterTurns = 3;
    clip.edits.photoDuration = 4.5;
    clip.added = 7;
    clip.imported = false;
    return clip;
}

TEST(RecordJson, ClipHasExactlyTheDocumentedForm) {
    const QJsonObject o = toJson(sampleClip());
    EXPECT_EQ(o.keys(), (QStringList{"added", "bookmark", "edits", "id", "imported", "url"}));
    EXPECT_EQ(o["id"].toString(), QStringLiteral("E621E1F8-C36C-495A-93FC-0C247A3E6E5F"));
    EXPECT_EQ(o["url"].toString(),
              QStringLiteral("file:///home/ann/My%20Movies/%C3%89t%C3%A9%20%231.mov"));
    EXPECT_EQ(o["bookmark"].toString(), QStringLiteral("AQL/IHBhdGg="));
    EXPECT_EQ(o["added"].toInteger(), 7);
    EXPECT_EQ(o["edits"].toObject().keys(), (QStringList{"muted", "photoDuration", "quarterTurns",
                                                         "speed", "trimEnd", "trimStart"}));

    Clip noBookmark = sampleClip();
    noBookmark.bookmark.reset();
    EXPECT_FALSE(toJson(noBookmark).contains("bookmark"));

    for (const Clip& clip : {sampleClip(), noBookmark}) {
        const auto text = compactJson(toJson(clip));
        const auto back = clipFromJson(QJsonDocument::fromJson(text).object());
        ASSERT_TRUE(back);
        EXPECT_EQ(*back, clip);
    }
}

TEST(RecordJson, CompactFormEscapesSlashes) {
    const QByteArray text = compactJson(toJson(sampleClip()));
    EXPECT_TRUE(text.contains(R"("url":"file:\/\/\/home\/ann\/My%20Movies)")) << text.data();
    EXPECT_FALSE(text.contains(' '));
}

TEST(RecordJson, DecodingIsStrict) {
    const QJsonObject good = toJson(sampleClip());
    ASSERT_TRUE(clipFromJson(good));

    auto without = [&](const QString& key) {
        QJsonObject o = good;
        o.remove(key);
        return o;
    };
    auto with = [&](const QString& key, const QJsonValue& v) {
        QJsonObject o = good;
        o[key] = v;
        return o;
    };
    QJsonObject editsWithoutDuration = good["edits"].toObject();
    editsWithoutDuration.remove("photoDuration");
    QJsonObject editsFractionalTurns = good["edits"].toObject();
    editsFractionalTurns["quarterTurns"] = 1.5;
    QJsonObject editsStringSpeed = good["edits"].toObject();
    editsStringSpeed["speed"] = "2";

    const QJsonObject bad[] = {
        without("id"),
        without("url"),
        without("edits"),
        without("added"),
        without("imported"),
        with("id", "not-a-uuid"),
        with("id", "{E621E1F8-C36C-495A-93FC-0C247A3E6E5F}"),
        with("url", 5),
        with("bookmark", "***"),
        with("imported", 0),
        with("added", 1.5),
        with("edits", editsWithoutDuration),
        with("edits", editsFractionalTurns),
        with("edits", editsStringSpeed),
    };
    for (const QJsonObject& o : bad)
        EXPECT_FALSE(clipFromJson(o)) << QJsonDocument(o).toJson().toStdString();

    // A lower-case id and an absent bookmark are fine.
    const auto lower = clipFromJson(with("id", "e621e1f8-c36c-495a-93fc-0c247a3e6e5f"));
    ASSERT_TRUE(lower);
    EXPECT_EQ(lower->id, sampleClip().id);
    const auto noBookmark = clipFromJson(without("bookmark"));
    ASSERT_TRUE(noBookmark);
    EXPECT_FALSE(noBookmark->bookmark);
}

TEST(RecordJson, EnumerationTextsMatchExactly) {
    EXPECT_EQ(layoutFromJson(QJsonObject{{"shape", "auto"}, {"fill", "fill"}}),
              (Layout{FrameShape::auto_, FillMode::fill}));
    EXPECT_EQ(toJson(Layout{FrameShape::portrait, FillMode::fit}),
              (QJsonObject{{"shape", "portrait"}, {"fill", "fit"}}));
    EXPECT_FALSE(layoutFromJson(QJsonObject{{"shape", "Wide"}, {"fill", "fit"}}));
    EXPECT_FALSE(layoutFromJson(QJsonObject{{"shape", "wide"}}));
}

TEST(RecordJson, MediaInfoFormWithDatesSinceTwoThousandOne) {
    MediaInfo info(MediaKind::video);
    info.size = {1080, 1920};
    info.dateTaken = QDateTime(QDate(2023, 7, 14), QTime(16, 2, 33), Qt::UTC);
    info.transform = {0, 1, -1, 0, 1080, 0};

    const QJsonObject o = toJson(info);
    EXPECT_EQ(o["kind"].toString(), QStringLiteral("video"));
    EXPECT_DOUBLE_EQ(o["dateTaken"].toDouble(), 711043353.0);
    EXPECT_EQ(o["transform"].toArray(), (QJsonArray{0, 1, -1, 0, 1080, 0}));
    EXPECT_EQ(o["size"].toArray(), (QJsonArray{1080, 1920}));
    EXPECT_FALSE(toJson(MediaInfo(MediaKind::missing)).contains("dateTaken"));
}

} // namespace
} // namespace vimbo

namespace vimbo {
namespace {

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
