// The options of `vimbo merge` and `vimbo export`, parsed in process.
#include "app/Options.h"

#include "model/RecordJson.h"
#include "tests/support/Media.h"

#include <gtest/gtest.h>
#include <tuple>

namespace vimbo::app {
namespace {

TEST(Options, MergeTakesEveryValueByTheNamesTheProjectStores) {
    const auto full = parseMerge({"--shape", "tall", "--fill", "fill", "--quality", "smaller",
                                  "--format", "mov", "--photo-duration", "0.1", "--sort", "date",
                                  "a.jpg", "photos/", "-o", "out.mov"});
    ASSERT_EQ(full.error, QString());
    const MergeOptions& o = full.options;
    EXPECT_EQ(o.layout, (Layout{FrameShape::tall, FillMode::fill}));
    EXPECT_EQ(o.out.quality, ExportQuality::smaller);
    EXPECT_EQ(o.out.format, ExportFormat::mov);
    EXPECT_EQ(o.photoDuration, 0.1) << "the shortest clip";
    EXPECT_EQ(o.sort, SortOrder::dateTaken);
    EXPECT_EQ(o.inputs, (QStringList{"a.jpg", "photos/"}));
    EXPECT_EQ(o.out.output, QStringLiteral("out.mov"));

    const auto plain = parseMerge({"--output=x.mp4", "--", "-odd.mp4"});
    ASSERT_EQ(plain.error, QString());
    EXPECT_EQ(plain.options.layout, Layout{});
    EXPECT_FALSE(plain.options.out.quality || plain.options.photoDuration || plain.options.sort);
    EXPECT_EQ(plain.options.inputs, QStringList{"-odd.mp4"});
    EXPECT_TRUE(parseMerge({"--help"}).help);
    EXPECT_EQ(parseMerge({"--photo-duration", "86400", "a", "-o", "x"}).options.photoDuration,
              86400);
}

// OUT's suffix names the file type, a name without one gets the format's, and --format never
// disagrees with the suffix; a suffix that names another type is refused.
TEST(Options, TheNameAndTheFormatNeverDisagree) {
    const std::tuple<QStringList, QString, ExportFormat> named[] = {
        {{"-o", "out.mov"}, "out.mov", ExportFormat::mov},
        {{"-o", "films/Out.MP4"}, "films/Out.MP4", ExportFormat::mp4},
        {{"--format", "mov", "-o", "out.mov"}, "out.mov", ExportFormat::mov},
        {{"-o", "films.2024/out"}, "films.2024/out.mp4", ExportFormat::mp4},
        {{"--format", "mov", "-o", ".hidden"}, ".hidden.mov", ExportFormat::mov},
    };
    for (const auto& [args, output, format] : named) {
        const auto parsed = parseExport(args);
        EXPECT_EQ(parsed.error, QString()) << args.join(' ').toStdString();
        EXPECT_EQ(parsed.options.output, output);
        EXPECT_EQ(parsed.options.format, format) << args.join(' ').toStdString();
    }
    EXPECT_EQ(parseExport({"-o", "out.mkv"}).error,
              QStringLiteral("Vimbo writes MP4 or MOV files, not \u201C.mkv\u201D"));
    EXPECT_EQ(parseMerge({"a", "--format", "mp4", "-o", "films/out.mov"}).error,
              QStringLiteral("--format mp4 disagrees with the name \u201Cout.mov\u201D; end it "
                             "in .mp4 or leave --format out"));
    EXPECT_TRUE(parseMerge({"a", "-o", "films/"}).error.contains("films/"));
}

// Each mistake is refused with one line that names what was wrong.
TEST(Options, MistakesAreRefusedInOneLine) {
    const std::pair<QStringList, const char*> cases[] = {
        {{"--shape", "round", "a", "-o", "x"}, "round"},
        {{"--fill", "stretch", "a", "-o", "x"}, "stretch"},
        {{"--quality", "best", "a", "-o", "x"}, "best"},
        {{"--format", "avi", "a", "-o", "x"}, "avi"},
        {{"--sort", "size", "a", "-o", "x"}, "size"},
        {{"--photo-duration", "0.099", "a", "-o", "x"}, "--photo-duration"},
        {{"--photo-duration", "86400.1", "a", "-o", "x"}, "86400.1"},
        {{"--photo-duration", "nan", "a", "-o", "x"}, "nan"},
        {{"a"}, "-o OUT"},
        {{"-o", "x"}, "no files"},
        {{"--colour", "red", "a", "-o", "x"}, "colour"},
        {{"a", "-o"}, "-o"},
    };
    for (const auto& [args, mentioned] : cases) {
        const QString error = parseMerge(args).error;
        EXPECT_TRUE(error.contains(QLatin1String(mentioned)) && !error.contains(u'\n'))
            << args.join(' ').toStdString() << ": " << error.toStdString();
    }
    EXPECT_TRUE(parseExport({"clip.mp4", "-o", "y"}).error.contains("takes no files"));
    EXPECT_TRUE(parseExport({"--quality", "high"}).error.contains("-o OUT"));
}

} // namespace
} // namespace vimbo::app
