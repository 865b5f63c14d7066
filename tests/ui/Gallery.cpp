// Renders the window's pieces into PNGs for looking at them, in the light and the dark palette:
// the icon set at three sizes, the tool bar in its states and with its menus open, and the
// photo picker over real sample media and over an empty Pictures folder. Needs no display.
// Usage: vimbo_ui_gallery OUTPUT-FOLDER (docs/screenshots holds the committed ones)
#include "export/ExportController.h"
#include "media/MediaProbe.h"
#include "media/Thumbnail.h"
#include "model/Project.h"
#include "model/UndoNames.h"
#include "ui/Icons.h"
#include "ui/PhotoGridModel.h"
#include "ui/PhotoPicker.h"
#include "ui/WindowToolbar.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QItemSelectionModel>
#include <QListView>
#include <QMenu>
#include <QPainter>
#include <QPalette>
#include <QStyle>
#include <QStyleFactory>
#include <QTemporaryDir>
#include <QToolButton>
#include <QUndoStack>
#include <QVBoxLayout>

#include <cstdio>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

using namespace vimbo;
using namespace vimbo::ui;

namespace {

QPalette lightPalette() {
    const std::unique_ptr<QStyle> fusion(QStyleFactory::create(QStringLiteral("Fusion")));
    return fusion->standardPalette();
}

// A dark palette with every role set, as a dark desktop theme hands one over.
QPalette darkPalette() {
    const QColor window(0x2b, 0x2b, 0x2d), base(0x1f, 0x1f, 0x21), text(0xec, 0xec, 0xee);
    const QColor button(0x3a, 0x3a, 0x3d), accent(0x35, 0x84, 0xe4);
    QPalette p(text, button, button.lighter(130), button.darker(160), button.darker(120), text,
               text, base, window);
    p.setColor(QPalette::AlternateBase, window);
    p.setColor(QPalette::ToolTipBase, base);
    p.setColor(QPalette::ToolTipText, text);
    p.setColor(QPalette::Highlight, accent);
    p.setColor(QPalette::HighlightedText, Qt::white);
    p.setColor(QPalette::Link, accent.lighter(120));
    p.setColor(QPalette::PlaceholderText, QColor(0x9a, 0x9a, 0x9e));
    p.setColor(QPalette::Shadow, Qt::black);
    for (auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        p.setColor(QPalette::Disabled, role, QColor(0x78, 0x78, 0x7c));
    return p;
}

const std::vector<std::pair<Icon, const char*>> allIcons{
    {Icon::undo, "undo"},
    {Icon::redo, "redo"},
    {Icon::add, "add"},
    {Icon::sort, "sort"},
    {Icon::frame, "frame"},
    {Icon::framePortrait, "framePortrait"},
    {Icon::share, "share"},
    {Icon::inspector, "inspector"},
    {Icon::film, "film"},
    {Icon::missing, "missing"},
    {Icon::muted, "muted"},
    {Icon::rotateLeft, "rotateLeft"},
    {Icon::rotateRight, "rotateRight"},
    {Icon::done, "done"},
    {Icon::warning, "warning"},
    {Icon::close, "close"},
    {Icon::filmStack, "filmStack"},
    {Icon::photos, "photos"},
};

// One panel per palette: a row per icon at 16, 24 and 32 pixels, normal and disabled, the
// Adwaita theme's icon where it has one, and a large one in the accent colour.
QImage iconPanel(const QPalette& palette) {
    QApplication::setPalette(palette);
    const int row = 44;
    QImage image(420, row * static_cast<int>(allIcons.size()) + 16, QImage::Format_ARGB32);
    image.fill(palette.color(QPalette::Window));
    QPainter p(&image);
    p.setPen(palette.color(QPalette::WindowText));
    int y = 8;
    for (const auto& [which, name] : allIcons) {
        p.drawText(QRect(8, y, 110, row), Qt::AlignVCenter, QString::fromLatin1(name));
        const QIcon icon = bundledIcon(which, palette.color(QPalette::WindowText));
        int x = 120;
        for (int size : {16, 24, 32}) {
            icon.paint(&p, QRect(x, y + (row - size) / 2, size, size));
            x += size + 12;
        }
        for (int size : {16, 24}) {
            icon.paint(&p, QRect(x, y + (row - size) / 2, size, size), Qt::AlignCenter,
                       QIcon::Disabled);
            x += size + 12;
        }
        // What a GNOME desktop shows: the Adwaita theme's symbolic icon, tinted.
        x += 8;
        QIcon::setThemeName(QStringLiteral("Adwaita"));
        ui::icon(which).paint(&p, QRect(x, y + (row - 24) / 2, 24, 24));
        QIcon::setThemeName(QString());
        x += 36;
        bundledIcon(which, palette.color(QPalette::Highlight))
            .paint(&p, QRect(x, y + (row - 40) / 2, 40, 40));
        y += row;
    }
    return image;
}

void save(const QImage& image, const QString& path);

QString sample(const char* name) {
    return QStringLiteral(VIMBO_SAMPLE_MEDIA "/") + QLatin1String(name);
}

MediaAccess realMedia() {
    return {&MediaProbe::isMedia, &MediaProbe::probe,
            [](const QUrl& url, MediaKind kind, int px) { return Thumbnail::make(url, kind, px); }};
}

void waitFor(const std::function<bool()>& done) {
    QDeadlineTimer deadline(20000);
    while (!done() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
}

// The tool bar above a strip of black, as it sits over the player in the window.
// The offscreen platform's pointer sits over the first button; only the states a shot asks
// for should show.
void atRest(WindowToolbar& toolbar) {
    for (QToolButton* button : toolbar.findChildren<QToolButton*>())
        button->setAttribute(Qt::WA_UnderMouse, false);
}

QImage toolbarShot(WindowToolbar& toolbar, const QPalette& palette) {
    QWidget frame;
    frame.setPalette(palette);
    frame.setAutoFillBackground(true);
    auto* layout = new QVBoxLayout(&frame);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    QWidget* parent = toolbar.parentWidget();
    layout->addWidget(&toolbar);
    auto* player = new QWidget(&frame);
    player->setFixedHeight(24);
    player->setAutoFillBackground(true);
    QPalette black = palette;
    black.setColor(QPalette::Window, Qt::black);
    player->setPalette(black);
    layout->addWidget(player);
    frame.resize(820, frame.sizeHint().height());
    frame.show();
    QCoreApplication::processEvents();
    const bool hovered = toolbar.addButton()->testAttribute(Qt::WA_UnderMouse);
    atRest(toolbar);
    toolbar.addButton()->setAttribute(Qt::WA_UnderMouse, hovered);
    const QImage image = frame.grab().toImage();
    frame.hide();
    layout->removeWidget(&toolbar);
    toolbar.setParent(parent);
    return image;
}

QImage menuShot(QToolButton* button) {
    QMenu* menu = button->menu();
    menu->popup(QPoint(0, 0));
    QCoreApplication::processEvents();
    const QImage image = menu->grab().toImage();
    menu->hide();
    return image;
}

QImage stack(const std::vector<QImage>& images, const QColor& background, int gap = 12) {
    int width = 0, height = gap;
    for (const QImage& image : images) {
        width = std::max(width, image.width());
        height += image.height() + gap;
    }
    QImage sheet(width + 2 * gap, height, QImage::Format_ARGB32);
    sheet.fill(background);
    QPainter p(&sheet);
    int y = gap;
    for (const QImage& image : images) {
        p.drawImage(gap, y, image);
        y += image.height() + gap;
    }
    return sheet;
}

QImage sideBySide(const std::vector<QImage>& images, const QColor& background, int gap = 12) {
    int width = gap, height = 0;
    for (const QImage& image : images) {
        width += image.width() + gap;
        height = std::max(height, image.height());
    }
    QImage sheet(width, height + 2 * gap, QImage::Format_ARGB32);
    sheet.fill(background);
    QPainter p(&sheet);
    int x = gap;
    for (const QImage& image : images) {
        p.drawImage(x, gap, image);
        x += image.width() + gap;
    }
    return sheet;
}

// Every state a person meets: an empty project, clips with the inspector on and the pointer
// over "Add", a portrait fill layout with "Sort" held down, and an export under way.
void toolbarSheets(const QPalette& palette, const QString& out, const QString& name) {
    QApplication::setPalette(palette);
    QUndoStack undo;
    Project project(realMedia(), std::nullopt);
    project.observeUndo(&undo);
    ExportController exporter;
    WindowToolbar toolbar(project, exporter);
    toolbar.setPalette(palette);
    std::vector<QImage> shots;
    shots.push_back(toolbarShot(toolbar, palette));

    project.add(
        {QUrl::fromLocalFile(sample("Landscape_1.jpg")),
         QUrl::fromLocalFile(sample("Portrait_1.jpg")),
         QUrl::fromLocalFile(sample("bbb_800x640_768kbps_30fps_avc_2b_firstpts_10_sec.mp4"))});
    waitFor([&] { return project.usable().size() == 3; });
    toolbar.addButton()->setAttribute(Qt::WA_UnderMouse, true);
    shots.push_back(toolbarShot(toolbar, palette));
    toolbar.addButton()->setAttribute(Qt::WA_UnderMouse, false);

    project.setLayout({FrameShape::portrait, FillMode::fill}, UndoName::changeShape);
    toolbar.setInspectorShown(false);
    toolbar.sortButton()->setDown(true);
    shots.push_back(toolbarShot(toolbar, palette));
    toolbar.sortButton()->setDown(false);
    undo.undo();

    const QUrl out0 = QUrl::fromLocalFile(QDir::temp().filePath(QStringLiteral("gallery.mp4")));
    std::vector<Segment> segments;
    for (const auto& [id, segment] : project.usable())
        segments.push_back(segment);
    exporter.start(segments, project.layout(), ExportFormat::mp4, ExportQuality::smaller, out0);
    toolbar.setInspectorShown(true);
    shots.push_back(toolbarShot(toolbar, palette));
    exporter.cancel();
    save(stack(shots, palette.color(QPalette::Window).darker(115)),
         out + QStringLiteral("/toolbar-%1.png").arg(name));

    project.setLayout({FrameShape::wide, FillMode::fit}, UndoName::changeShape);
    const QImage menus = sideBySide({menuShot(toolbar.addButton()), menuShot(toolbar.sortButton()),
                                     menuShot(toolbar.frameButton())},
                                    palette.color(QPalette::Window).darker(115));
    save(menus, out + QStringLiteral("/toolbar-menus-%1.png").arg(name));
}

// A Pictures folder of real samples a day apart, and a camera card with a few of them.
struct PictureFolders {
    QTemporaryDir root;
    PhotoLibrary::Roots roots() const {
        return {root.filePath(QStringLiteral("Pictures")),
                {root.filePath(QStringLiteral("media"))}};
    }
    PictureFolders() {
        const char* pictures[] = {"london.jpg",
                                  "denali.webp",
                                  "pug.heic",
                                  "portrait.jpg",
                                  "Landscape_1.jpg",
                                  "sample.mp4",
                                  "HMD_Nokia_8.3_5G.jpg",
                                  "example.heic",
                                  "rotate-buck-bunny.mp4",
                                  "IMG_2682.heic",
                                  "Portrait_1.jpg",
                                  "video-h265.mp4",
                                  "ultraHDR.jpg",
                                  "bbb_800x640_768kbps_30fps_avc_2b_firstpts_10_sec.mp4",
                                  "arrow.heic",
                                  "Canon_40D.jpg"};
        copy(pictures, QStringLiteral("Pictures/Holiday"));
        const char* card[] = {"Pentax_K10D.jpg", "portrait_4k60.mp4", "Landscape_3.jpg"};
        copy(card, QStringLiteral("media/NIKON D750/DCIM/100NIKON"));
    }
    template <std::size_t n>
    void copy(const char* const (&names)[n], const QString& folder) {
        QDir().mkpath(root.filePath(folder));
        QDateTime when = QDateTime::currentDateTime().addDays(-30);
        for (const char* name : names) {
            const QString to = root.filePath(folder + QLatin1Char('/') + QLatin1String(name));
            QFile::copy(sample(name), to);
            QFile file(to);
            file.open(QIODevice::ReadWrite);
            file.setFileTime(when, QFileDevice::FileModificationTime);
            when = when.addSecs(3600 * 7);
        }
    }
};

QImage pickerShot(PhotoPicker& picker) {
    picker.show();
    waitFor([&] { return picker.isListed(); });
    auto* grid = picker.grid();
    // Let every tile on screen arrive.
    waitFor([&] {
        QCoreApplication::processEvents();
        grid->viewport()->grab();
        for (int row = 0; row < grid->model()->rowCount(); ++row)
            if (!grid->visualRect(grid->model()->index(row, 0)).isEmpty() &&
                grid->viewport()->rect().intersects(
                    grid->visualRect(grid->model()->index(row, 0))) &&
                !grid->model()->index(row, 0).data(PhotoGridModel::loadedRole).toBool())
                return false;
        return true;
    });
    return picker.grab().toImage();
}

void pickerSheets(const QPalette& palette, const QString& out, const QString& name) {
    QApplication::setPalette(palette);
    Project project(realMedia(), std::nullopt);
    PictureFolders folders;
    {
        auto* picker = new PhotoPicker(project, folders.roots());
        picker->setAttribute(Qt::WA_DeleteOnClose, false);
        picker->resize(780, 560);
        picker->show();
        waitFor([&] { return picker->isListed(); });
        auto* grid = picker->grid();
        for (int row : {1, 2, 5})
            grid->selectionModel()->select(grid->model()->index(row, 0),
                                           QItemSelectionModel::Select);
        grid->selectionModel()->setCurrentIndex(grid->model()->index(5, 0),
                                                QItemSelectionModel::NoUpdate);
        save(pickerShot(*picker), out + QStringLiteral("/picker-%1.png").arg(name));
        delete picker;
    }
    {
        QTemporaryDir empty;
        QDir().mkpath(empty.filePath(QStringLiteral("Pictures")));
        auto* picker = new PhotoPicker(project, {empty.filePath(QStringLiteral("Pictures")), {}});
        picker->setAttribute(Qt::WA_DeleteOnClose, false);
        picker->resize(780, 560);
        save(pickerShot(*picker), out + QStringLiteral("/picker-empty-%1.png").arg(name));
        delete picker;
    }
}

void save(const QImage& image, const QString& path) {
    if (!image.save(path))
        std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
}

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    // The offscreen platform knows no icon themes; the Adwaita column needs the system's.
    QIcon::setThemeSearchPaths(QIcon::themeSearchPaths() << QStringLiteral("/usr/share/icons"));
    if (argc < 2) {
        std::fprintf(stderr, "usage: vimbo_ui_gallery OUTPUT-FOLDER\n");
        return 2;
    }
    const QString out = QString::fromLocal8Bit(argv[1]);
    QDir().mkpath(out);

    const QImage light = iconPanel(lightPalette());
    const QImage dark = iconPanel(darkPalette());
    QImage sheet(light.width() * 2, light.height(), QImage::Format_ARGB32);
    QPainter p(&sheet);
    p.drawImage(0, 0, light);
    p.drawImage(light.width(), 0, dark);
    p.end();
    save(sheet, out + QStringLiteral("/icons.png"));
    toolbarSheets(lightPalette(), out, QStringLiteral("light"));
    toolbarSheets(darkPalette(), out, QStringLiteral("dark"));
    pickerSheets(lightPalette(), out, QStringLiteral("light"));
    pickerSheets(darkPalette(), out, QStringLiteral("dark"));
    return 0;
}
