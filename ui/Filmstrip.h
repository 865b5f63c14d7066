#pragma once

// The strip of clip tiles under the preview, in playing order, with the add tile at the end.
// Clicks select through Project::click (Shift extends, Ctrl toggles) and then tell the window
// which clip was clicked; a click beside the tiles, or Escape, selects nothing; Delete or
// Backspace removes the selection, Ctrl+A selects every clip, the arrow keys step through the
// clips. Dragging a tile reorders the clips live as it passes others, and the whole drag is
// one "Move Clip" step. The right-click menu acts on the selection when the clicked clip is in
// it, else on that clip alone. The strip scrolls to its end whenever a clip is appended.
//
// A view only: everything shown is read from the project on each change, and thumbnails come
// from the project, made in the background, so painting never waits. Only visible tiles are
// painted. Interface thread; the project must outlive the strip.

#include <QUuid>
#include <QWidget>

#include <functional>
#include <optional>

namespace vimbo {
class Project;
}

namespace vimbo::ui {

class StripView;

class Filmstrip : public QWidget {
    Q_OBJECT
public:
    // `onSelect` is called after every click on a tile, with the tile's clip.
    Filmstrip(Project& project, std::function<void(const QUuid&)> onSelect,
              QWidget* parent = nullptr);
    ~Filmstrip() override;

signals:
    // The add tile was clicked.
    void addRequested();

private:
    StripView* view_;
};

} // namespace vimbo::ui
