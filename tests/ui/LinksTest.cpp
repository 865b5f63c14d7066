#include "ui/Links.h"

#include <gtest/gtest.h>

namespace vimbo::ui {
namespace {

TEST(Links, PagesFollowTheFirstLanguageAndTheVersionIsPassedOn) {
    EXPECT_EQ(Links::website({"zh-Hant", "en"}).toString(), "https://vimbo.app/vimbo-zh-tw.html");
    EXPECT_EQ(Links::support({"zh-Hans-CN"}).toString(),
              "https://vimbo.app/vimbo-support-zh-cn.html");
    for (const QStringList& other : {QStringList{"en-US"}, {"de", "zh-Hant"}, {"zh"}, {}})
        EXPECT_EQ(Links::website(other).toString(), "https://vimbo.app/vimbo.html");
    EXPECT_EQ(Links::newVersion({"en"}, "1.2.0").toString(),
              "https://vimbo.app/vimbo.html?installed=1.2.0#download");
    EXPECT_EQ(Links::newVersion({"zh-TW"}, QString()).toString(),
              "https://vimbo.app/vimbo-zh-tw.html?installed=#download");
}

} // namespace
} // namespace vimbo::ui
