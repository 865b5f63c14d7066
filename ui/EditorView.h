#pragma once

// The editor: the preview's picture on black, the filmstrip under it and, while an export is
// not idle, the export bar at the bottom. It arranges those views; they do the work.
// Interface thread.

#include <QUuid>
#include <QWidget>

#include <functional>

namespace vimbo {
class ExportController;
class Player;
class Project;
} // namespace vimbo

namespace vimbo::ui {

class EditorView : public QWidget {
    Q_OBJECT
public:
    EditorView(Project& project, ExportController& exporter, Player& player,
               std::function<void(const QUuid&)> onSelect, QWidget* parent = nullptr);

    // Whether the export bar (and the line above it) is part of the editor now.
    bool exportBarShown() const;

signals:
    // The filmstrip's add tile was clicked.
    void addRequested();

private:
    void followExport();

    ExportController& exporter_;
    QWidget* exportPart_;
};

} // namespace vimbo::ui
