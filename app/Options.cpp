#include "app/Options.h"

#include "model/RecordJson.h"

#include <QCommandLineParser>
#include <QFileInfo>

#include <array>
#include <cmath>

namespace vimbo::app {
namespace {

// The command line's own words for the sort orders (nothing else stores them).
constexpr std::array<SortOrder, 3> allSortOrders{SortOrder::orderAdded, SortOrder::dateTaken,
                                                 SortOrder::fileName};
QString sortName(SortOrder order) {
    switch (order) {
    case SortOrder::orderAdded:
        return QStringLiteral("added");
    case SortOrder::dateTaken:
        return QStringLiteral("date");
    case SortOrder::fileName:
        return QStringLiteral("name");
    }
    return {};
}

// One option that takes one of an enumeration's names.
template <typename Enum>
struct Choice {
    QString name;
    QStringList names;
    std::vector<Enum> values;
    QString description;

    template <std::size_t N, typename Name>
    Choice(QString option, const std::array<Enum, N>& all, Name nameOf, QString what)
        : name(std::move(option))
        , description(std::move(what)) {
        for (Enum value : all) {
            names << nameOf(value);
            values.push_back(value);
        }
    }

    QCommandLineOption option() const { return {name, description, names.join(QLatin1Char('|'))}; }

    // The value named `text`, or the mistake in `error`.
    std::optional<Enum> take(const QString& text, QString& error) const {
        for (std::size_t i = 0; i < values.size(); ++i)
            if (names[static_cast<qsizetype>(i)] == text)
                return values[i];
        QStringList quoted = names;
        const QString last = quoted.takeLast();
        error = QStringLiteral("--%1 takes %2 or %3, not \u201C%4\u201D")
                    .arg(name, quoted.join(QStringLiteral(", ")), last, text);
        return std::nullopt;
    }
};

const Choice<ExportQuality>& qualityChoice() {
    static const Choice<ExportQuality> choice(
        QStringLiteral("quality"), allExportQualities, [](ExportQuality q) { return rawValue(q); },
        QStringLiteral("original copies the clips where it can; smaller is HEVC up to 1920"));
    return choice;
}

const Choice<ExportFormat>& formatChoice() {
    static const Choice<ExportFormat> choice(
        QStringLiteral("format"), allExportFormats, [](ExportFormat f) { return rawValue(f); },
        QStringLiteral("the file type; else OUT's suffix (.mp4 or .mov) says, else mp4"));
    return choice;
}

const Choice<FrameShape>& shapeChoice() {
    static const Choice<FrameShape> choice(
        QStringLiteral("shape"), allFrameShapes, frameShapeText,
        QStringLiteral("16:9, 9:16, 1:1, 4:5, or auto: the first clip's"));
    return choice;
}

const Choice<FillMode>& fillChoice() {
    static const Choice<FillMode> choice(
        QStringLiteral("fill"), allFillModes, fillModeText,
        QStringLiteral("fit each clip inside the frame, or fill it and crop"));
    return choice;
}

const Choice<SortOrder>& sortChoice() {
    static const Choice<SortOrder> choice(QStringLiteral("sort"), allSortOrders, sortName,
                                          QStringLiteral("order the clips (else as given)"));
    return choice;
}

const QCommandLineOption outputOption(
    {QStringLiteral("o"), QStringLiteral("output")},
    QStringLiteral("the movie to write: its name ends in .mp4 or .mov, or gets the format's"),
    QStringLiteral("OUT"));
const QCommandLineOption photoDurationOption(QStringLiteral("photo-duration"),
                                             QStringLiteral("seconds each photo shows (else 3)"),
                                             QStringLiteral("S"));
const QCommandLineOption helpOption({QStringLiteral("h"), QStringLiteral("help")},
                                    QStringLiteral("show this help"));

// Parses into `parser`; false with `error` set on a mistake QCommandLineParser finds itself.
bool parse(QCommandLineParser& parser, const QStringList& args, QString& error) {
    parser.addOption(helpOption);
    if (!parser.parse(QStringList{QStringLiteral("vimbo")} + args)) {
        error = parser.errorText();
        return false;
    }
    return true;
}

// The file type and name of the movie: a suffix of .mp4 or .mov (in any case) names the type,
// a name without one gets the type's (MP4 unless --format says otherwise), and any other
// suffix, or one that disagrees with --format, is a mistake.
QString nameOutput(ExportOptions& out, std::optional<ExportFormat> asked) {
    const QString name = QFileInfo(out.output).fileName();
    if (name.isEmpty() || name == QLatin1String(".") || name == QLatin1String(".."))
        return QStringLiteral("-o takes the movie's file name, not the folder \u201C%1\u201D")
            .arg(out.output);
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    if (dot <= 0) { // none, or a hidden file's leading dot
        out.format = asked.value_or(ExportFormat::mp4);
        out.output += QLatin1Char('.') + fileExtension(out.format);
        return {};
    }
    const QString suffix = name.mid(dot + 1);
    const std::optional<ExportFormat> named = exportFormatFromRaw(suffix.toLower());
    if (!named)
        return QStringLiteral("Vimbo writes MP4 or MOV files, not \u201C.%1\u201D").arg(suffix);
    if (asked && *asked != *named)
        return QStringLiteral("--format %1 disagrees with the name \u201C%2\u201D; end it in .%1 "
                              "or leave --format out")
            .arg(rawValue(*asked), name);
    out.format = *named;
    return {};
}

void takeExport(const QCommandLineParser& parser, ExportOptions& out, QString& error) {
    if (parser.isSet(qualityChoice().name))
        out.quality = qualityChoice().take(parser.value(qualityChoice().name), error);
    std::optional<ExportFormat> format;
    if (error.isEmpty() && parser.isSet(formatChoice().name))
        format = formatChoice().take(parser.value(formatChoice().name), error);
    out.output = parser.value(outputOption);
    if (error.isEmpty() && out.output.isEmpty())
        error = QStringLiteral("the movie to write is missing (-o OUT)");
    if (error.isEmpty())
        error = nameOutput(out, format);
}

QString optionLine(const QCommandLineOption& option) {
    QString names;
    for (const QString& name : option.names())
        names += (names.isEmpty() ? QString() : QStringLiteral(", ")) +
                 (name.size() == 1 ? QStringLiteral("-") : QStringLiteral("--")) + name;
    if (!option.valueName().isEmpty())
        names += QLatin1Char(' ') + option.valueName();
    return QStringLiteral("  %1\n      %2\n").arg(names, option.description());
}

} // namespace

Parsed<MergeOptions> parseMerge(const QStringList& args) {
    Parsed<MergeOptions> parsed;
    QCommandLineParser parser;
    parser.addOptions({outputOption, qualityChoice().option(), formatChoice().option(),
                       shapeChoice().option(), fillChoice().option(), sortChoice().option(),
                       photoDurationOption});
    QString& error = parsed.error;
    if (!parse(parser, args, error))
        return parsed;
    if ((parsed.help = parser.isSet(helpOption)))
        return parsed;
    MergeOptions& o = parsed.options;
    if (parser.isSet(shapeChoice().name))
        o.layout.shape =
            shapeChoice().take(parser.value(shapeChoice().name), error).value_or(FrameShape::auto_);
    if (error.isEmpty() && parser.isSet(fillChoice().name))
        o.layout.fill =
            fillChoice().take(parser.value(fillChoice().name), error).value_or(FillMode::fit);
    if (error.isEmpty() && parser.isSet(sortChoice().name))
        o.sort = sortChoice().take(parser.value(sortChoice().name), error);
    if (error.isEmpty() && parser.isSet(photoDurationOption)) {
        bool number = false;
        const QString text = parser.value(photoDurationOption);
        const double seconds = text.toDouble(&number);
        if (number && std::isfinite(seconds) && seconds >= ClipEdits::shortestClip &&
            seconds <= 24 * 3600)
            o.photoDuration = seconds;
        else
            error = QStringLiteral("--photo-duration takes seconds from 0.1 to 86400, not "
                                   "\u201C%1\u201D")
                        .arg(text);
    }
    if (error.isEmpty())
        takeExport(parser, o.out, error);
    o.inputs = parser.positionalArguments();
    if (error.isEmpty() && o.inputs.isEmpty())
        error = QStringLiteral("no files to merge");
    return parsed;
}

Parsed<ExportOptions> parseExport(const QStringList& args) {
    Parsed<ExportOptions> parsed;
    QCommandLineParser parser;
    parser.addOptions({outputOption, qualityChoice().option(), formatChoice().option()});
    if (!parse(parser, args, parsed.error))
        return parsed;
    if ((parsed.help = parser.isSet(helpOption)))
        return parsed;
    takeExport(parser, parsed.options, parsed.error);
    if (parsed.error.isEmpty() && !parser.positionalArguments().isEmpty())
        parsed.error = QStringLiteral("export takes no files; it exports the saved project");
    return parsed;
}

QString mergeUsage() {
    return QStringLiteral("usage: vimbo merge [OPTIONS] FILE-OR-FOLDER… -o OUT (vimbo merge "
                          "--help for the options)");
}

QString exportUsage() {
    return QStringLiteral("usage: vimbo export [--quality Q] [--format F] -o OUT (vimbo export "
                          "--help for the options)");
}

QString mergeHelp() {
    QString help = QStringLiteral(
        "usage: vimbo merge [OPTIONS] FILE-OR-FOLDER… -o OUT\n\n"
        "Joins the files (folders are searched) into one movie, as the window would with these\n"
        "settings; inputs that are not photos or videos it can read are named and skipped.\n"
        "The movie replaces a file at OUT only once it is complete, and never one of the\n"
        "clips; Ctrl-C stops it and leaves OUT as it was.\n\noptions:\n");
    for (const QCommandLineOption& option :
         {outputOption, qualityChoice().option(), formatChoice().option(), shapeChoice().option(),
          fillChoice().option(), photoDurationOption, sortChoice().option()})
        help += optionLine(option);
    return help;
}

QString exportHelp() {
    QString help = QStringLiteral("usage: vimbo export [OPTIONS] -o OUT\n\n"
                                  "Exports the saved project, with all its edits, as the "
                                  "window would.\n\noptions:\n");
    for (const QCommandLineOption& option :
         {outputOption, qualityChoice().option(), formatChoice().option()})
        help += optionLine(option);
    return help;
}

} // namespace vimbo::app
