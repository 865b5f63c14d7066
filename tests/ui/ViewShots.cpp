// vimbo_view_shots OUTDIR: renders the editing views with real media into OUTDIR/*.png, each
// in a light and a dark palette, for the README and for looking at what the views draw.
// Runs on whatever platform Qt is given (offscreen needs no display).
#include "tests/support/Media.h"
#include "tests/support/Program.h"
#include "tests/ui/ViewFixture.h"
#include "ui/Filmstrip.h"

#include <QApplication>
#include <QDir>
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

    // Renders `make()`'s widget once per palette as NAME-light.png and NAME-dark.png.
    void take(const QString& name, const std::function<QWidget*()>& make) {
        for (const bool dark : {false, true}) {
            QApplication::setPalette(dark ? darkPalette()
                                          : QApplication::style()->standardPalette());
            std::unique_ptr<QWidget> widget(make());
            widget->show();
            waitUntil([] { return false; }, 150); // layouts, timers, animations settle
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
    views.open(
        {{media(f, QStringLiteral("Landscape_1.jpg"), true)},
         {media(f, QStringLiteral("bbb_800x640_768kbps_30fps_avc_2b_firstpts_10_sec.mp4"), false),
          sped},
         {media(f, QStringLiteral("sample_with_colr_mdcv_and_clli.mp4"), false), muted},
         {media(f, QStringLiteral("london.jpg"), true)},
         {f + QStringLiteral("/Birthday party (missing).mov")},
         {media(f, QStringLiteral("sample.mp4"), false), slow},
         {media(f, QStringLiteral("sample.mkv"), false)},
         {media(f, QStringLiteral("portrait.jpg"), true)}});
    views.read();
    views.project().click(views.id(QStringLiteral("sample_with_colr_mdcv_and_clli.mp4")), {});
    shots.take(QStringLiteral("filmstrip"), [&] {
        auto* strip = new ui::Filmstrip(views.project(), [](const QUuid&) {});
        strip->resize(1000, strip->height());
        return strip;
    });
}

} // namespace
} // namespace vimbo::test

int main(int argc, char** argv) {
    QApplication app(argc, argv);
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
    return 0;
}
