#pragma once

// The menu bar: File, Edit, View and Help, with the program's commands and their shortcuts.
// Each command's enabled state is derived afresh from the project and the export whenever
// they announce a change. Actions are named (objectName) after their command. Interface thread.

#include <QObject>

#include <functional>

class QAction;
class QKeySequence;
class QMainWindow;
class QMenu;
class QUndoStack;

namespace vimbo {
class ExportController;
class Project;
} // namespace vimbo

namespace vimbo::ui {

class AppMenus : public QObject {
    Q_OBJECT
public:
    // Fills window's menu bar. toggleInspector flips the window's wish to see the inspector.
    AppMenus(QMainWindow& window, Project& project, ExportController& exporter,
             QUndoStack& undoStack, std::function<void()> toggleInspector);

    // The View menu's inspector item reads "Hide Inspector" while the column is wished for.
    void setInspectorShown(bool shown);

signals:
    // The person asked for one of the window's dialogs: Add…, Add from Photos…, Export….
    void addRequested();
    void addFromPhotosRequested();
    void exportRequested();

private:
    void fillFile();
    void fillEdit(QUndoStack& undoStack);
    void fillView(std::function<void()> toggleInspector);
    void fillHelp();
    void refresh();
    QAction* add(QMenu* menu, const QString& name, const QString& text,
                 const QList<QKeySequence>& keys, std::function<void()> action);

    QMainWindow& window_;
    Project& project_;
    ExportController& exporter_;
    QAction* startOver_ = nullptr;
    QAction* export_ = nullptr;
    QAction* selectAll_ = nullptr;
    QAction* rotateLeft_ = nullptr;
    QAction* rotateRight_ = nullptr;
    QAction* remove_ = nullptr;
    QAction* inspector_ = nullptr;
};

} // namespace vimbo::ui
