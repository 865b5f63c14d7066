#pragma once

// The main window's tool bar: undo and redo on the leading side; add, sort, frame, export and
// the inspector switch on the trailing side, all in the flat button look (FlatButtonStyle).
//
// Reads the project and the export controller and changes them only through their operations.
// Which buttons are enabled, which is on, and the frame button's title are worked out again
// from the project and the export state on every change they announce. Interface thread only;
// the project and the controller must outlive the tool bar.

#include "model/Layout.h"

#include <QToolBar>

#include <optional>

class QAction;
class QActionGroup;
class QMenu;
class QToolButton;

namespace vimbo {

class ExportController;
class Project;

namespace ui {

class FlatButtonStyle;

class WindowToolbar : public QToolBar {
    Q_OBJECT
public:
    WindowToolbar(Project& project, ExportController& exporter, QWidget* parent = nullptr);

    // The window's wish to see the inspector column. The button is drawn on while this holds
    // and the project has clips (without clips there is no column to show).
    void setInspectorShown(bool shown);
    bool inspectorShown() const { return inspectorShown_; }

    // The frame button's title: the shape ("Auto", or its ratio such as "16:9"), a middle dot,
    // and "Fit" or "Fill": "Auto · Fit", "9:16 · Fill".
    static QString frameTitle(const Layout& layout);

    // The buttons, in order, for the window's keyboard hints and for tests.
    QToolButton* undoButton() const { return undo_; }
    QToolButton* redoButton() const { return redo_; }
    QToolButton* addButton() const { return add_; }
    QToolButton* sortButton() const { return sort_; }
    QToolButton* frameButton() const { return frame_; }
    QToolButton* exportButton() const { return export_; }
    QToolButton* inspectorButton() const { return inspector_; }

signals:
    // The person pressed the inspector button. The window flips its flag and calls
    // setInspectorShown with the new value.
    void inspectorToggled();
    // The person asked for one of the window's dialogs: Add…, Add from Photos…, Export….
    void addRequested();
    void addFromPhotosRequested();
    void exportRequested();

private:
    QToolButton* makeButton(const QString& title, const QString& help, bool titled);
    QMenu* makeAddMenu();
    QMenu* makeSortMenu();
    QMenu* makeFrameMenu();
    void addPicker(QMenu* menu, const QString& heading, QActionGroup* group);
    void refresh();
    void refreshFrame();

    Project& project_;
    ExportController& exporter_;
    FlatButtonStyle* style_;
    bool inspectorShown_ = true;
    std::optional<bool> frameUpright_; // which frame icon is shown

    QToolButton* undo_ = nullptr;
    QToolButton* redo_ = nullptr;
    QToolButton* add_ = nullptr;
    QToolButton* sort_ = nullptr;
    QToolButton* frame_ = nullptr;
    QToolButton* export_ = nullptr;
    QToolButton* inspector_ = nullptr;
    QActionGroup* shapes_ = nullptr;
    QActionGroup* fills_ = nullptr;
};

} // namespace ui
} // namespace vimbo
