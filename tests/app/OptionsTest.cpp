// The options of `vimbo merge` and `vimbo export`, parsed in process.
#include "app/Options.h"

#include "model/RecordJson.h"
#include "tests/support/Media.h"

#include <gtest/gtest.h>

namespace vimbo::app {
namespace {

TEST(Options, MergeTakesEveryValueByTheNamesTheProjectStores) {
    const auto full = parseMerge({"--shape", "tall", "--fill", "fill", "--quality", "smaller",
                                  "--format", "mov", "--photo-duration", "1.5", "--sort", "date",
                                  "a.jpg", "photos/", "-o", "out.mov"});
    ASSERT_EQ(full.error, QString());
    const MergeOptions& o = full.options;
    EXPECT_EQ(o.layout, (Layout{FrameShape::tall, FillMode::fill}));
    EXPECT_EQ(o.out.quality, ExportQuality::smaller);
    EXPECT_EQ(o.out.format, ExportFormat::mov);
    EXPECT_EQ(o.photoDuration, 1.5);
    EXPECT_EQ(o.sort, SortOrder::dateTaken);
    EXPECT_EQ(o.inputs, (QStringList{"a.jpg", "photos/"}));
    EXPECT_EQ(o.out.output, QStringLiteral("out.mov"));

    const auto plain = parseMerge({"--output=x.mp4", "--", "-odd.mp4"});
    ASSERT_EQ(plain.error, QString());
    EXPECT_EQ(plain.options.layout, Layout{});
    EXPECT_FALSE(plain.options.out.quality || plain.options.out.format ||
                 plain.options.photoDuration || plain.options.sort);
    EXPECT_EQ(plain.options.inputs, QStringList{"-odd.mp4"});

    // The saved project's names, every one of them.
    for (const FrameShape shape : allFrameShapes)
        EXPECT_EQ(
            parseMerge({"--shape", frameShapeText(shape), "a", "-o", "x"}).options.layout.shape,
            shape);
    for (const FillMode fill : allFillModes)
        EXPECT_EQ(parseMerge({"--fill", fillModeText(fill), "a", "-o", "x"}).options.layout.fill,
                  fill);
    EXPECT_TRUE(parseMerge({"--help"}).help);
}

TEST(Options, MistakesSayWhatWouldDoInOneLine) {
    struct Case {
        QStringList args;
        QString error;
    };
    const Case cases[] = {
        {{"--shape", "round", "a", "-o", "x"},
         "--shape takes auto, wide, tall, square or portrait, not \u201Cround\u201D"},
        {{"--fill", "stretch", "a", "-o", "x"},
         "--fill takes fit or fill, not \u201Cstretch\u201D"},
        {{"--quality", "best", "a", "-o", "x"},
         "--quality takes original, high or smaller, not \u201Cbest\u201D"},
        {{"--format", "avi", "a", "-o", "x"}, "--format takes mp4 or mov, not \u201Cavi\u201D"},
        {{"--sort", "size", "a", "-o", "x"},
         "--sort takes added, date or name, not \u201Csize\u201D"},
        {{"--photo-duration", "0", "a", "-o", "x"},
         "--photo-duration takes seconds from 0.1 to 86400, not \u201C0\u201D"},
        {{"--photo-duration", "nan", "a", "-o", "x"},
         "--photo-duration takes seconds from 0.1 to 86400, not \u201Cnan\u201D"},
        {{"a"}, "the movie to write is missing (-o OUT)"},
        {{"-o", "x"}, "no files to merge"},
        {{"--colour", "red", "a", "-o", "x"}, "Unknown option 'colour'."},
        {{"a", "-o"}, "Missing value after '-o'."},
    };
    for (const Case& c : cases)
        EXPECT_EQ(parseMerge(c.args).error, c.error) << c.args.join(' ').toStdString();

    EXPECT_EQ(parseExport({"--format", "mov", "-o", "y"}).options.format, ExportFormat::mov);
    EXPECT_EQ(parseExport({"clip.mp4", "-o", "y"}).error,
              QStringLiteral("export takes no files; it exports the saved project"));
    EXPECT_EQ(parseExport({"--quality", "high"}).error,
              QStringLiteral("the movie to write is missing (-o OUT)"));
}

} // namespace
} // namespace vimbo::app
