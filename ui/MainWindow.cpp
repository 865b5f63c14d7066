#include "ui/MainWindow.h"

#include "export/ExportController.h"
#include "model/Project.h"
#include "model/TimeText.h"
#include "preview/Preview.h"
#include "preview/RebuildTrigger.h"
#include "ui/AppMenus.h"
#include "ui/DropOverlay.h"
#include "ui/EditorView.h"
#include "ui/EmptyState.h"
#include "ui/ExportSheet.h"
#include "ui/FileChooser.h"
#include "ui/FileDrop.h"
#include "ui/FileIntake.h"
#include "ui/InspectorColumn.h"
#include "ui/PhotoPicker.h"
#include "ui/WindowToolbar.h"

#include <QCloseEvent>
#include <QSplitter>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace vimbo::ui {

MainWindow::MainWindow(Project& project, ExportController& exporter, QWidget* parent)
    : QMainWindow(parent)
    , project_(project)
    , exporter_(exporter)
    , preview_(new Preview(this))
    , rebuild_(new RebuildTrigger(
          *preview_, [&project] { return Preview::keyOf(project); }, this))
    , intake_(new FileIntake(project, this)) {
    setObjectName(QStringLiteral("main"));
    arrange();
    wireProject();
    setInspectorWished(true);
}

MainWindow::~MainWindow() = default;

QString MainWindow::subtitle(const Project& project) {
    const auto count = static_cast<int>(project.clips().size());
    if (count == 0)
        return {};
    return tr("%n Clip(s)", nullptr, count) + QStringLiteral(" · ") +
           TimeText::short_(project.duration());
}

void MainWindow::arrange() {
    resize(defaultSize);
    toolbar_ = new WindowToolbar(project_, exporter_, this);
    toolbar_->setObjectName(QStringLiteral("toolbar"));
    addToolBar(toolbar_);
    setUnifiedTitleAndToolBarOnMac(true);
    connect(toolbar_, &WindowToolbar::inspectorToggled, this,
            [this] { setInspectorWished(!inspectorWished_); });
    connect(toolbar_, &WindowToolbar::addRequested, this, &MainWindow::chooseFiles);
    connect(toolbar_, &WindowToolbar::addFromPhotosRequested, this, &MainWindow::openPhotoPicker);
    connect(toolbar_, &WindowToolbar::exportRequested, this, &MainWindow::openExportSheet);

    auto* central = new QWidget(this);
    central->setMinimumSize(minimumContentSize);
    content_ = new QStackedWidget(central);
    empty_ = new EmptyState(content_);
    connect(empty_, &EmptyState::addRequested, this, &MainWindow::chooseFiles);
    connect(empty_, &EmptyState::addFromPhotosRequested, this, &MainWindow::openPhotoPicker);
    editor_ = new EditorView(
        project_, exporter_, preview_->player(), [this](const QUuid& id) { selected(id); },
        content_);
    connect(editor_, &EditorView::addRequested, this, &MainWindow::chooseFiles);
    content_->addWidget(empty_);
    content_->addWidget(editor_);
    inspector_ = new InspectorColumn(project_, central);
    connect(inspector_, &InspectorColumn::closeRequested, this,
            [this] { setInspectorWished(false); });

    columns_ = new QSplitter(Qt::Horizontal, central);
    columns_->addWidget(content_);
    columns_->addWidget(inspector_);
    columns_->setStretchFactor(0, 1);
    columns_->setStretchFactor(1, 0);
    columns_->setCollapsible(0, false);
    // Dragging the divider to the window edge closes the column, as its close control does.
    connect(columns_, &QSplitter::splitterMoved, this, [this] {
        if (inspector_->isVisible() && columns_->sizes().value(1) == 0)
            setInspectorWished(false);
    });
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(columns_);
    setCentralWidget(central);

    overlay_ = new DropOverlay(*central);
    drop_ = new FileDrop(*this, [this](const QList<QUrl>& files) { intake_->add(files); });
    connect(drop_, &FileDrop::hoveringChanged, this, [this](bool hovering) {
        overlay_->setVisible(hovering);
        overlay_->raise();
    });
    menus_ = new AppMenus(*this, project_, exporter_, undoStack_,
                          [this] { setInspectorWished(!inspectorWished_); });
    connect(menus_, &AppMenus::addRequested, this, &MainWindow::chooseFiles);
    connect(menus_, &AppMenus::addFromPhotosRequested, this, &MainWindow::openPhotoPicker);
    connect(menus_, &AppMenus::exportRequested, this, &MainWindow::openExportSheet);
}

void MainWindow::wireProject() {
    const auto keyMayHaveChanged = [this] { rebuild_->keyMayHaveChanged(); };
    connect(&project_, &Project::clipsChanged, this, &MainWindow::follow);
    connect(&project_, &Project::infoChanged, this, &MainWindow::follow); // the length
    connect(&project_, &Project::clipsChanged, this, keyMayHaveChanged);
    connect(&project_, &Project::infoChanged, this, keyMayHaveChanged);
    connect(&project_, &Project::layoutChanged, this, keyMayHaveChanged);
}

void MainWindow::setInspectorWished(bool wished) {
    inspectorWished_ = wished;
    toolbar_->setInspectorShown(wished);
    menus_->setInspectorShown(wished);
    follow();
}

void MainWindow::follow() {
    const bool empty = project_.clips().empty();
    content_->setCurrentWidget(empty ? static_cast<QWidget*>(empty_) : editor_);
    const bool column = inspectorWished_ && !empty;
    if (column && inspector_->isHidden()) {
        inspector_->show();
        // Back at its ideal width, also after it was dragged shut.
        const int total = columns_->width();
        columns_->setSizes({total - InspectorColumn::idealWidth, InspectorColumn::idealWidth});
    } else if (!column) {
        inspector_->hide();
    }
    const QString sub = subtitle(project_);
    setWindowTitle(sub.isEmpty() ? QStringLiteral("Vimbo") : QStringLiteral("Vimbo — ") + sub);
}

void MainWindow::selected(const QUuid& id) {
    if (project_.selection() == QSet<QUuid>{id})
        preview_->show(id);
}

void MainWindow::chooseFiles() {
    ui::chooseFiles(*intake_, this);
}

void MainWindow::openExportSheet() {
    if (sheet_)
        return;
    sheet_ = new ExportSheet(project_, exporter_, this);
    sheet_->setAttribute(Qt::WA_DeleteOnClose);
    sheet_->setWindowModality(Qt::WindowModal);
    sheet_->open();
}

void MainWindow::openPhotoPicker() {
    if (picker_)
        return;
    picker_ = new PhotoPicker(project_, this);
    picker_->setAttribute(Qt::WA_DeleteOnClose);
    picker_->setWindowModality(Qt::WindowModal);
    connect(picker_, &PhotoPicker::chooseFilesInstead, this, &MainWindow::chooseFiles);
    picker_->open();
}

void MainWindow::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    if (std::exchange(shown_, true))
        return;
    project_.observeUndo(&undoStack_);
    rebuild_->keyMayHaveChanged();
    emit firstShown();
}

void MainWindow::closeEvent(QCloseEvent* event) {
    // Dialogs of this window (export sheet, photo picker, the Add… dialog) close with it, so
    // that closing the window always ends the program.
    for (QWidget* child : findChildren<QWidget*>())
        if (child->isWindow() && child->isVisible())
            child->close();
    emit closing();
    QMainWindow::closeEvent(event);
}

} // namespace vimbo::ui
