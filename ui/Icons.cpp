#include "ui/Icons.h"

#include <QApplication>
#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>

#include <array>
#include <optional>

namespace vimbo::ui {
namespace {

struct Names {
    const char* theme;   // freedesktop name; empty where no standard name fits our drawing
    const char* bundled; // file under :/icons/
};

constexpr std::array<Names, 18> names{{
    {"edit-undo", "undo"},
    {"edit-redo", "redo"},
    {"list-add", "add"},
    {"view-sort", "sort"},
    {"", "frame"},
    {"", "frame-portrait"},
    {"document-export", "share"},
    {"sidebar-show-right", "inspector"},
    {"video-x-generic", "film"},
    {"image-missing", "missing"},
    {"audio-volume-muted", "muted"},
    {"object-rotate-left", "rotate-left"},
    {"object-rotate-right", "rotate-right"},
    {"emblem-ok", "done"},
    {"dialog-warning", "warning"},
    {"window-close", "close"},
    // The empty window's and the picker's pictures are illustrations rather than commands;
    // a theme's folder icons would say "folder", so these are always our own.
    {"", "film-stack"},
    {"", "photos"},
}};

const Names& namesOf(Icon which) {
    return names.at(static_cast<std::size_t>(which));
}

// Draws a one-colour icon (our SVGs, a theme's symbolic icons) in the palette's text colour
// for the mode asked (or a fixed colour), so it follows the light or dark theme and greys out
// when disabled.
class TintedEngine : public QIconEngine {
public:
    TintedEngine(QIcon shape, std::optional<QColor> color)
        : shape_(std::move(shape))
        , color_(std::move(color)) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode,
               QIcon::State state) override {
        painter->drawPixmap(
            rect, pixmap(rect.size() * painter->device()->devicePixelRatioF(), mode, state));
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap shape = shape_.pixmap(size, QIcon::Normal, state);
        QPainter painter(&shape);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(shape.rect(), colorFor(mode));
        return shape;
    }

    QIconEngine* clone() const override {
        return new TintedEngine(shape_, color_); // NOLINT: Qt takes ownership
    }

private:
    QColor colorFor(QIcon::Mode mode) const {
        const QPalette palette = QApplication::palette();
        if (mode == QIcon::Disabled)
            return palette.color(QPalette::Disabled, QPalette::WindowText);
        if (color_)
            return *color_;
        return palette.color(mode == QIcon::Selected ? QPalette::HighlightedText
                                                     : QPalette::WindowText);
    }

    QIcon shape_;
    std::optional<QColor> color_;
};

QIcon tinted(QIcon shape, std::optional<QColor> color) {
    return QIcon(new TintedEngine(std::move(shape), std::move(color))); // NOLINT: QIcon owns it
}

QIcon bundled(Icon which, std::optional<QColor> color) {
    const QString path =
        QStringLiteral(":/icons/%1.svg").arg(QLatin1String(namesOf(which).bundled));
    if (!QFile::exists(path))
        return {};
    return tinted(QIcon(path), std::move(color));
}

} // namespace

QIcon icon(Icon which) {
    const QString theme = QLatin1String(namesOf(which).theme);
    if (theme.isEmpty())
        return bundled(which, std::nullopt);
    // A theme's symbolic variant is a single-colour template (Adwaita draws it dark grey and
    // leaves the colouring to the toolkit): tinted, it reads in dark themes too. Plain names
    // come next, as the theme draws them (Breeze colours its own).
    const QString symbolic = theme + QStringLiteral("-symbolic");
    if (QIcon::hasThemeIcon(symbolic))
        return tinted(QIcon::fromTheme(symbolic), std::nullopt);
    if (QIcon::hasThemeIcon(theme))
        return QIcon::fromTheme(theme);
    return bundled(which, std::nullopt);
}

QIcon bundledIcon(Icon which, const QColor& color) {
    return bundled(which, color);
}

} // namespace vimbo::ui
