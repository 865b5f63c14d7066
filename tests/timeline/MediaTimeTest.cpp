#include "timeline/MediaTime.h"

#include "timeline/Composition.h"

#include <gtest/gtest.h>

namespace vimbo {
namespace {

MediaTime t(std::int64_t value, std::int32_t timescale) {
    return {value, timescale};
}

// The same value in the same timescale, not only the same instant.
void expectSame(const MediaTime& actual, const MediaTime& expected, const char* what) {
    EXPECT_EQ(std::pair(actual.value, actual.timescale),
              std::pair(expected.value, expected.timescale))
        << what;
}

TEST(MediaTime, Arithmetic) {
    struct Case {
        const char* what;
        MediaTime actual;
        MediaTime expected;
    };
    const Case cases[] = {
        {"3 s", MediaTime::fromSeconds(3), t(18000, 6000)},
        {"half a tick rounds away from zero", MediaTime::fromSeconds(2.5 / 6000), t(3, 6000)},
        {"negative half too", MediaTime::fromSeconds(-2.5 / 6000), t(-3, 6000)},
        {"other timescale", MediaTime::fromSeconds(1.5, 600), t(900, 600)},
        {"least common multiple", t(1, 6000) + t(1, 15360), t(64 + 25, 384000)},
        {"subtract", t(18000, 6000) - t(1, 2), t(15000, 6000)},
        {"timescale beyond 32 bits is capped and rounded", t(1, 2147483629) + t(1, 2147483587),
         t(2, MediaTime::maxTimescale)},
        {"multiply rounds half away", t(3, 6000).multipliedBy(0.5), t(2, 6000)},
        {"multiply by 1/1.5", t(6000, 6000).multipliedBy(1 / 1.5), t(4000, 6000)},
        {"multiply by 1/4 of an odd count", t(18001, 6000).multipliedBy(0.25), t(4500, 6000)},
        {"convert rounds", t(1, 3).converted(1000), t(333, 1000)},
        {"floor", t(2, 3).flooredTo(1000), t(666, 1000)},
        {"floor of a negative", t(-1, 3).flooredTo(1000), t(-334, 1000)},
        {"scaled rounds down", t(1, 30).scaledFloor(t(1, 1), t(3, 1), 90), t(1, 90)},
        {"scaled negative rounds down", t(-1, 30).scaledFloor(t(1, 1), t(4, 1), 90), t(-1, 90)},
        // Ten hours at half speed: the whole product needs more than 64 bits.
        {"scaled long times exactly",
         t(216000001, 6000).scaledFloor(t(216000000, 6000), t(108000000, 6000), 90000),
         t(6480000030, 90000)},
    };
    for (const Case& c : cases)
        expectSame(c.actual, c.expected, c.what);
    EXPECT_EQ(MediaTime::fromSeconds(1.25).seconds(), 1.25);
}

TEST(MediaTime, ComparesInstantsExactly) {
    EXPECT_EQ(t(1, 2), t(3000, 6000));
    EXPECT_LT(t(1, 3), t(3334, 10000));
    EXPECT_GT(t(1, 3), t(3333, 10000));
    // Values whose products need more than 64 bits.
    EXPECT_LT(t(INT64_MAX - 1, MediaTime::maxTimescale), t(INT64_MAX, MediaTime::maxTimescale));
    EXPECT_EQ(t(INT64_MAX / 2, 1000000000), t(INT64_MAX / 2 * 2, 2000000000));
    EXPECT_LT(t(-1, 1), MediaTime::zero());
}

TEST(MediaTime, Ranges) {
    const TimeRange a{t(1, 1), t(2, 1)};
    const TimeRange b{t(2, 1), t(3, 1)};
    expectSame(a.end(), t(3, 1), "end");
    EXPECT_EQ(a.intersection(b), (TimeRange{t(2, 1), t(1, 1)}));
    EXPECT_EQ(b.intersection(a), (TimeRange{t(2, 1), t(1, 1)}));
    EXPECT_TRUE(a.intersection({t(3, 1), t(1, 1)}).isEmpty()) << "touching ranges do not overlap";
    EXPECT_TRUE(a.intersection({t(5, 1), t(1, 1)}).isEmpty());
    EXPECT_TRUE(a.contains(t(1, 1)));
    EXPECT_FALSE(a.contains(t(3, 1))) << "the end is outside";
}

TEST(Composition, InsertScaleRemove) {
    const SourceTrack file{QUrl::fromLocalFile("/a.mov"), 0};
    const SourceTrack other{QUrl::fromLocalFile("/b.mov"), 1};
    Composition c;
    CompositionTrack& video = *c.track(MediaType::video);
    EXPECT_EQ(c.duration(), MediaTime::zero());

    video.insert(file, {t(1, 1), t(4, 1)}, MediaTime::zero()); // source 1…5 at 0…4
    video.scale({MediaTime::zero(), t(4, 1)}, t(2, 1));        // played at 2×: 0…2
    EXPECT_EQ(video.duration(), t(2, 1));
    const Edit* e = video.editAt(t(1, 1));
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->sourceTime(t(1, 1), 600), t(3, 1)) << "one second in shows source second 3";
    EXPECT_TRUE(e->isStretched());

    // Inserting inside an edit splits it and pushes the rest later.
    video.insert(other, {MediaTime::zero(), t(1, 2)}, t(1, 1));
    ASSERT_EQ(video.edits().size(), 3u);
    EXPECT_EQ(video.edits()[0].target, (TimeRange{MediaTime::zero(), t(1, 1)}));
    EXPECT_EQ(video.edits()[0].sourceRange, (TimeRange{t(1, 1), t(2, 1)}));
    EXPECT_EQ(video.edits()[1].source, other);
    EXPECT_EQ(video.edits()[2].target, (TimeRange{t(3, 2), t(1, 1)}));
    EXPECT_EQ(video.edits()[2].sourceRange, (TimeRange{t(3, 1), t(2, 1)}));
    EXPECT_EQ(video.editAt(t(5, 2)), nullptr) << "past the end";
    EXPECT_EQ(c.duration(), t(5, 2));

    // Stretching a range that spans several edits keeps them end to end.
    CompositionTrack& audio = *c.track(MediaType::audio);
    audio.insert(file, {MediaTime::zero(), t(1, 1)}, MediaTime::zero());
    audio.insert(other, {MediaTime::zero(), t(2, 1)}, t(1, 1));
    audio.insert(file, {t(5, 1), t(1, 1)}, t(3, 1)); // after the stretched range
    audio.scale({MediaTime::zero(), t(3, 1)}, t(6, 1));
    ASSERT_EQ(audio.edits().size(), 3u);
    EXPECT_EQ(audio.edits()[0].target, (TimeRange{MediaTime::zero(), t(2, 1)}));
    EXPECT_EQ(audio.edits()[1].target, (TimeRange{t(2, 1), t(4, 1)}));
    EXPECT_EQ(audio.edits()[2].target, (TimeRange{t(6, 1), t(1, 1)}));
    EXPECT_EQ(c.duration(), t(7, 1)) << "the longest track";

    c.removeTrack(MediaType::audio);
    EXPECT_EQ(c.track(MediaType::audio), nullptr);
    EXPECT_EQ(c.duration(), t(5, 2));
}

} // namespace
} // namespace vimbo
