#include "ui/Links.h"

#include <gtest/gtest.h>

namespace vimbo::ui {
namespace {

TEST(Links, PagesFollowTheFirstLanguageAndTheVersionIsPassedOn) {
    const QStringList traditional{"zh-Hant", "en"};
    const QStringList simplified{"zh-Hans-CN", "en"};
    EXPECT_EQ(Links::website(traditional).toString(), "https://vimbo.app/vimbo-zh-tw.html");
    EXPECT_EQ(Links::support(simplified).toString(), "https://vimbo.app/vimbo-support-zh-cn.html");
    EXPECT_EQ(Links::pageSuffix({"zh-TW"}), "-zh-tw");
    for (const QStringList& other :
         {QStringList{"en-US"}, QStringList{"de", "zh-Hant"}, QStringList{"zh"}, QStringList{}}) {
        EXPECT_EQ(Links::pageSuffix(other), QString()) << other.join(',').toStdString();
        EXPECT_EQ(Links::website(other).toString(), "https://vimbo.app/vimbo.html");
    }

    EXPECT_EQ(Links::newVersion({"en"}, "1.2.0").toString(),
              "https://vimbo.app/vimbo.html?installed=1.2.0#download");
    EXPECT_EQ(Links::newVersion(traditional, QString()).toString(),
              "https://vimbo.app/vimbo-zh-tw.html?installed=#download");
    EXPECT_EQ(Links::contact().toString(), "mailto:support@vimbo.app?subject=Vimbo");
}

} // namespace
} // namespace vimbo::ui
