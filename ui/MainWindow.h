#pragma once

// The one window. It arranges the views (toolbar, empty state or editor, inspector column,
// drop overlay, menus) and wires them to the project, the export and the preview; the views do
// the rest. It owns the undo stack (handed to the project when the window first shows), the
// preview with its rebuild trigger, the file intake that every way of adding files goes
// through, and the dialogs its views ask for. Interface thread; the project and the export
// controller outlive it.

#include <QMainWindow>
#include <QPointer>
#include <QUndoStack>

namespace vimbo {
class ExportController;
class Preview;
class Project;
class RebuildTrigger;
} // namespace vimbo

class QSplitter;
class QStackedWidget;

namespace vimbo::ui {

class AppMenus;
class DropOverlay;
class EditorView;
class EmptyState;
class ExportSheet;
class FileDrop;
class FileIntake;
class InspectorColumn;
class PhotoPicker;
class WindowToolbar;

class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    static constexpr QSize defaultSize{1100, 760};
    static constexpr QSize minimumContentSize{760, 520};

    MainWindow(Project& project, ExportController& exporter, QWidget* parent = nullptr);
    ~MainWindow() override;

    // "3 Clips · 1:02:03": every clip counted, playable or not, and the movie's length; empty
    // for an empty project. The title bar shows "Vimbo — " and this.
    static QString subtitle(const Project& project);

    // The user's wish to see the inspector column; the column shows while the project has clips.
    bool inspectorWished() const { return inspectorWished_; }
    void setInspectorWished(bool wished);

    Preview& preview() { return *preview_; }
    QUndoStack& undoStack() { return undoStack_; }
    FileIntake& intake() { return *intake_; }

    // The window's dialogs, which its menus, tool bar, empty state and filmstrip ask for. The
    // picker and the sheet are open once at most: asking for one already open does nothing.
    void chooseFiles();
    void openPhotoPicker();
    void openExportSheet();

signals:
    // The window has appeared for the first time: files may now be added to it.
    void firstShown();
    // The window is closing, which ends the program.
    void closing();

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void arrange();
    void wireProject();
    void follow();
    void selected(const QUuid& id);

    Project& project_;
    ExportController& exporter_;
    QUndoStack undoStack_;
    Preview* preview_;
    RebuildTrigger* rebuild_;
    FileIntake* intake_;
    WindowToolbar* toolbar_ = nullptr;
    QSplitter* columns_ = nullptr;
    QStackedWidget* content_ = nullptr;
    EmptyState* empty_ = nullptr;
    EditorView* editor_ = nullptr;
    InspectorColumn* inspector_ = nullptr;
    DropOverlay* overlay_ = nullptr;
    FileDrop* drop_ = nullptr;
    AppMenus* menus_ = nullptr;
    QPointer<ExportSheet> sheet_;
    QPointer<PhotoPicker> picker_;
    bool inspectorWished_ = true;
    bool shown_ = false;
};

} // namespace vimbo::ui
