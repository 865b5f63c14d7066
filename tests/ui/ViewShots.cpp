// vimbo_view_shots OUTDIR: renders the editing views with real media into OUTDIR/*.png, each
// in a light and a dark palette, for the README and for looking at what the views draw.
// Runs on whatever platform Qt is given (offscreen needs no display).
#include "media/ff/Log.h"
#include "tests/support/Media.h"
#include "tests/support/Program.h"
#include "tests/ui/ViewFixture.h"
#include "ui/ExportBar.h"
#include "ui/ExportSheet.h"
#include "ui/Filmstrip.h"
#include "ui/InspectorView.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QIcon>
#include <QPalette>
#include <QStyle>
#include <QStyleFactory>
#include <QVBoxLayout>

#include <cstdio>
#include <functional>

namespace vimbo::test {
namespace {

QPalette darkPalette() {
    QPalette p;
    const QColor window(0x2b, 0x2b, 0x2d), base(0x1f, 0x1f, 0x21), text(0xf2, 0xf2, 0xf2);
    p.setColor(QPalette::Window, window);
    p.setColor(QPalette::WindowText, text);
    p.setColor(QPalette::Base, base);
    p.setColor(QPalette::AlternateBase, window);
    p.setColor(QPalette::Text, text);
    p.setColor(QPalette::Button, QColor(0x3a, 0x3a, 0x3d));
    p.setColor(QPalette::ButtonText, text);
    p.setColor(QPalette::Highlight, QColor(0x35, 0x84, 0xe4));
    p.setColor(QPalette::HighlightedText, Qt::white);
    p.setColor(QPalette::ToolTipBase, base);
    p.setColor(QPalette::ToolTipText, text);
    p.setColor(QPalette::PlaceholderText, QColor(0x9a, 0x9a, 0x9a));
    p.setColor(QPalette::Light, QColor(0x4a, 0x4a, 0x4d));
    p.setColor(QPalette::Midlight, QColor(0x3f, 0x3f, 0x42));
    p.setColor(QPalette::Mid, QColor(0x26, 0x26, 0x28));
    p.setColor(QPalette::Dark, QColor(0x18, 0x18, 0x1a));
    p.setColor(QPalette::Shadow, Qt::black);
    for (auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        p.setColor(QPalette::Disabled, role, QColor(0x80, 0x80, 0x80));
    return p;
}

// A file under another name, as a person's own clips are named.
QString renamed(const QString& path, const QString& folder, const QString& name) {
    QDir().mkpath(folder);
    const QString to = folder + QLatin1Char('/') + name;
    QFile::remove(to);
    QFile::copy(path, to);
    return to;
}

// The real sample when the corpus is here, else a generated stand-in of that name.
QString media(const QString& folder, const QString& sampleName, bool photo) {
    const QString real = sample(sampleName);
    if (!sampleFolder().isEmpty() && QFileInfo::exists(real))
        return real;
    return photo ? picture(folder, sampleName) : movie(folder, sampleName);
}

class Shots {
public:
    explicit Shots(QString out)
        : out_(std::move(out)) {}

    // Renders `make()`'s widget once per palette as NAME-light.png and NAME-dark.png, once
    // `ready` holds for it and layouts, timers and animations have settled.
    void take(const QString& name, const std::function<QWidget*()>& make,
              const std::function<bool(QWidget*)>& ready = {}) {
        for (const bool dark : {false, true}) {
            QApplication::setPalette(dark ? darkPalette()
                                          : QApplication::style()->standardPalette());
            std::unique_ptr<QWidget> widget(make());
            widget->show();
            if (ready)
                waitUntil([&] { return ready(widget.get()); }, 60000);
            waitUntil([] { return false; }, 150);
            const QString file =
                QStringLiteral("%1/%2-%3.png")
                    .arg(out_, name, dark ? QStringLiteral("dark") : QStringLiteral("light"));
            if (!widget->grab().save(file))
                std::fprintf(stderr, "could not write %s\n", qPrintable(file));
        }
    }

private:
    QString out_;
};

void filmstrip(Shots& shots, Views& views) {
    const QString f = views.files();
    ClipEdits sped;
    sped.trimStart = 0.5;
    sped.trimEnd = 0.5;
    sped.speed = 2;
    ClipEdits muted;
    muted.muted = true;
    ClipEdits slow;
    slow.speed = 0.5;
    slow.muted = true;
    const auto named = [&](const char* sampleName, bool photo, const char* name) {
        return renamed(media(f, QLatin1String(sampleName), photo), f, QString::fromUtf8(name));
    };
    views.open(
        {{named("Landscape_1.jpg", true, "Waterfall.jpg")},
         {named("bbb_800x640_768kbps_30fps_avc_2b_firstpts_10_sec.mp4", false, "Meadow.mp4"), sped},
         {named("sample_with_colr_mdcv_and_clli.mp4", false, "Mountain pass.mp4"), muted},
         {named("london.jpg", true, "London.jpg")},
         {f + QStringLiteral("/Birthday party.mov")}, // not there: missing
         {named("sample.mp4", false, "Interview.mp4"), slow},
         {named("sample.mkv", false, "Old camcorder tape.mkv")},
         {named("portrait.jpg", true, "Summer holiday at the lake, day two.jpg")}});
    views.read();
    views.project().click(views.id(QStringLiteral("Mountain pass.mp4")), {});
    shots.take(QStringLiteral("filmstrip"), [&] {
        auto* strip = new ui::Filmstrip(views.project(), [](const QUuid&) {});
        strip->resize(1200, strip->height());
        return strip;
    });
}

void inspector(Shots& shots, Views& views) {
    const QString f = views.files();
    ClipEdits trimmed;
    trimmed.trimStart = 0.5;
    trimmed.trimEnd = 1;
    views.open({{media(f, QStringLiteral("video-h265.mp4"), false), trimmed},
                {media(f, QStringLiteral("Landscape_1.jpg"), true)},
                {media(f, QStringLiteral("bbb_800x640_768kbps_30fps_avc_2b_firstpts_10_sec.mp4"),
                       false)}});
    views.read();
    const auto column = [&] {
        auto* view = new ui::InspectorView(views.project());
        view->resize(300, 420);
        return view;
    };
    Project& p = views.project();
    p.click(views.id(QStringLiteral("video-h265.mp4")), {});
    shots.take(QStringLiteral("inspector-video"), column);
    p.click(views.id(QStringLiteral("Landscape_1.jpg")), Qt::ShiftModifier);
    shots.take(QStringLiteral("inspector-mixed"), column);
    p.clearSelection();
    shots.take(QStringLiteral("inspector-merged"), column);
}

void exportViews(Shots& shots, Views& views) {
    const QString f = views.files();
    const QString harbour = renamed(media(f, QStringLiteral("video-h265.mp4"), false), f,
                                    QStringLiteral("Harbour at dusk.mp4"));
    views.open({{harbour}, {renamed(harbour, f, QStringLiteral("Harbour, later.mp4"))}});
    views.read();
    const auto sheet = [&] { return new ui::ExportSheet(views.project(), views.exporter()); };
    const auto judged = [](QWidget* w) { return !static_cast<ui::ExportSheet*>(w)->judging(); };
    shots.take(QStringLiteral("export-sheet-fast"), sheet, judged);

    views.open({{renamed(media(f, QStringLiteral("sample_with_colr_mdcv_and_clli.mp4"), false), f,
                         QStringLiteral("Mountain pass.mp4"))},
                {renamed(media(f, QStringLiteral("rotate-buck-bunny.mp4"), false), f,
                         QStringLiteral("Bunny.mp4"))},
                {media(f, QStringLiteral("Landscape_1.jpg"), true)}});
    views.read();
    shots.take(QStringLiteral("export-sheet-reencode"), sheet, judged);

    // Running: a re-encode long enough for an estimate of the time left.
    std::vector<Segment> segments;
    for (const auto& [id, segment] : views.project().usable())
        segments.push_back(segment);
    ExportController& exporter = views.exporter();
    const QString out = QDir::tempPath() + QStringLiteral("/Summer in the mountains.mp4");
    exporter.start(segments, views.project().layout(), ExportFormat::mp4, ExportQuality::original,
                   QUrl::fromLocalFile(out));
    const auto bar = [&] {
        auto* view = new ui::ExportBar(exporter);
        view->resize(720, view->sizeHint().height());
        return view;
    };
    waitUntil([&] { return exporter.state().remaining || exporter.state().progress > 0.5; }, 60000);
    shots.take(QStringLiteral("export-bar-running"), bar);
    exporter.cancel();
    const QString done = QDir::tempPath() + QStringLiteral("/Mountain pass, short cut.mp4");
    exporter.start({segments.front()}, {}, ExportFormat::mp4, ExportQuality::original,
                   QUrl::fromLocalFile(done));
    waitUntil([&] { return exporter.state().kind == ExportController::State::Kind::done; }, 60000);
    shots.take(QStringLiteral("export-bar-done"), bar);
    QFile::remove(done);
}

} // namespace
} // namespace vimbo::test

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    vimbo::ff::quietLibraryLog();
    if (argc != 2) {
        std::fprintf(stderr, "usage: vimbo_view_shots OUTDIR\n");
        return 2;
    }
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    // Without a desktop session Qt knows no icon theme; draw with the one GNOME uses.
    if (QIcon::themeName().isEmpty() || QIcon::themeName() == QLatin1String("hicolor")) {
        QIcon::setThemeSearchPaths(QIcon::themeSearchPaths() << QStringLiteral("/usr/share/icons"));
        QIcon::setThemeName(QStringLiteral("Adwaita"));
    }
    vimbo::test::useEnglish();
    const QString out = QString::fromLocal8Bit(argv[1]);
    QDir().mkpath(out);
    vimbo::test::Views views;
    vimbo::test::Shots shots(out);
    vimbo::test::filmstrip(shots, views);
    vimbo::test::inspector(shots, views);
    vimbo::test::exportViews(shots, views);
    return 0;
}
