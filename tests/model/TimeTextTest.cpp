#include "model/TimeText.h"

#include <QLocale>

#include <gtest/gtest.h>

namespace vimbo {
namespace {

const double nan = std::numeric_limits<double>::quiet_NaN();
const double infinity = std::numeric_limits<double>::infinity();

class TimeTextTest : public ::testing::Test {
protected:
    void SetUp() override { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }
    void TearDown() override { QLocale::setDefault(QLocale::system()); }
};

TEST_F(TimeTextTest, ClockTimesRoundAndGrowAnHourFieldOrCountMinutesPastIt) {
    const std::pair<double, const char*> shortCases[] = {
        {0, "0:00"},       {5, "0:05"},         {754, "12:34"},    {59.5, "1:00"},
        {3599.4, "59:59"}, {3599.5, "1:00:00"}, {3723, "1:02:03"}, {36000, "10:00:00"},
        {0.49, "0:00"},    {infinity, "0:00"},
    };
    for (auto [t, text] : shortCases)
        EXPECT_EQ(TimeText::short_(t), QString::fromUtf8(text)) << t;
    const std::pair<double, const char*> preciseCases[] = {
        {7.46, "0:07.5"}, {75.36, "1:15.4"}, {-3, "0:00.0"},    {3725, "62:05.0"},
        {0.04, "0:00.0"}, {0.05, "0:00.1"},  {59.96, "1:00.0"}, {nan, "0:00.0"},
    };
    for (auto [t, text] : preciseCases)
        EXPECT_EQ(TimeText::precise(t), QString::fromUtf8(text)) << t;
}

TEST_F(TimeTextTest, NumbersKeepTheirDigitsRoundedHalfToEvenInTheLocale) {
    const std::pair<double, const char*> seconds[] = {
        {3, "3"},      {2.5, "2.5"},    {0.5, "0.5"},  {15, "15"},    {1, "1"},
        {0.25, "0.2"}, {0.75, "0.8"},   {0.35, "0.4"}, {0.45, "0.4"}, {1.04, "1"},
        {0.96, "1"},   {1500, "1,500"}, {1.25, "1.2"}, {0.26, "0.3"}, {nan, "0"},
    };
    for (auto [x, text] : seconds)
        EXPECT_EQ(TimeText::seconds(x), QString::fromUtf8(text)) << x;
    const std::pair<double, const char*> rates[] = {
        {29.97002997, "29.97"}, {30, "30"}, {23.976, "23.98"}, {12.5, "12.5"}, {59.999, "60"},
    };
    for (auto [fps, text] : rates)
        EXPECT_EQ(TimeText::frameRate(fps), QString::fromUtf8(text)) << fps;

    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    EXPECT_EQ(TimeText::seconds(2.5), QStringLiteral("2,5"));
    EXPECT_EQ(TimeText::seconds(4), QStringLiteral("4"));
    EXPECT_EQ(TimeText::frameRate(29.97), QStringLiteral("29,97"));
}

} // namespace
} // namespace vimbo
