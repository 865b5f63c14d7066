#include "ui/AppMenus.h"

#include "export/ExportController.h"
#include "model/Project.h"
#include "ui/Icons.h"
#include "ui/Links.h"

#include <QAction>
#include <QApplication>
#include <QDesktopServices>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QUndoStack>

namespace vimbo::ui {
namespace {

QKeySequence keys(QKeyCombination combination) {
    return QKeySequence(combination);
}

} // namespace

AppMenus::AppMenus(QMainWindow& window, Project& project, ExportController& exporter,
                   QUndoStack& undoStack, std::function<void()> toggleInspector)
    : QObject(&window)
    , window_(window)
    , project_(project)
    , exporter_(exporter) {
    fillFile();
    fillEdit(undoStack);
    fillView(std::move(toggleInspector));
    fillHelp();
    for (auto signal : {&Project::clipsChanged, &Project::selectionChanged, &Project::infoChanged})
        connect(&project_, signal, this, &AppMenus::refresh);
    connect(&exporter_, &ExportController::stateChanged, this, &AppMenus::refresh);
    refresh();
}

QAction* AppMenus::add(QMenu* menu, const QString& name, const QString& text,
                       const QList<QKeySequence>& shortcuts, std::function<void()> action) {
    auto* item = menu->addAction(text);
    item->setObjectName(name);
    item->setShortcuts(shortcuts);
    connect(item, &QAction::triggered, this, std::move(action));
    return item;
}

void AppMenus::fillFile() {
    QMenu* file = window_.menuBar()->addMenu(tr("&File"));
    startOver_ = add(file, QStringLiteral("startOver"), tr("Start Over"), {QKeySequence::New},
                     [this] { project_.startOver(); });
    file->addSeparator();
    add(file, QStringLiteral("add"), tr("Add…"), {QKeySequence::Open},
        [this] { emit addRequested(); });
    add(file, QStringLiteral("addFromPhotos"), tr("Add from Photos…"),
        {keys(Qt::CTRL | Qt::SHIFT | Qt::Key_O)}, [this] { emit addFromPhotosRequested(); });
    file->addSeparator();
    export_ = add(file, QStringLiteral("export"), tr("Export…"), {keys(Qt::CTRL | Qt::Key_E)},
                  [this] { emit exportRequested(); });
    file->addSeparator();
    QAction* quit = add(file, QStringLiteral("quit"), tr("Quit"), {keys(Qt::CTRL | Qt::Key_Q)},
                        [this] { window_.close(); });
    quit->setMenuRole(QAction::QuitRole);
}

void AppMenus::fillEdit(QUndoStack& undoStack) {
    QMenu* edit = window_.menuBar()->addMenu(tr("&Edit"));
    // Qt's undo actions follow the stack: "Undo Rotate", greyed out when there is nothing.
    QAction* undo = undoStack.createUndoAction(this, tr("Undo"));
    undo->setObjectName(QStringLiteral("undo"));
    undo->setShortcuts({keys(Qt::CTRL | Qt::Key_Z)});
    QAction* redo = undoStack.createRedoAction(this, tr("Redo"));
    redo->setObjectName(QStringLiteral("redo"));
    redo->setShortcuts({keys(Qt::CTRL | Qt::SHIFT | Qt::Key_Z), keys(Qt::CTRL | Qt::Key_Y)});
    undo->setIcon(icon(Icon::undo));
    redo->setIcon(icon(Icon::redo));
    edit->addAction(undo);
    edit->addAction(redo);
    edit->addSeparator();
    selectAll_ = add(edit, QStringLiteral("selectAll"), tr("Select All"), {QKeySequence::SelectAll},
                     [this] { project_.selectAll(); });
    edit->addSeparator();
    rotateLeft_ = add(edit, QStringLiteral("rotateLeft"), tr("Rotate Left"),
                      {keys(Qt::CTRL | Qt::Key_L)}, [this] { project_.rotateSelection(-1); });
    rotateRight_ = add(edit, QStringLiteral("rotateRight"), tr("Rotate Right"),
                       {keys(Qt::CTRL | Qt::Key_R)}, [this] { project_.rotateSelection(+1); });
    rotateLeft_->setIcon(icon(Icon::rotateLeft));
    rotateRight_->setIcon(icon(Icon::rotateRight));
    edit->addSeparator();
    remove_ = add(edit, QStringLiteral("remove"), tr("Remove"),
                  {keys(Qt::CTRL | Qt::Key_Backspace), keys(Qt::Key_Delete)},
                  [this] { project_.remove(project_.selection()); });
}

void AppMenus::fillView(std::function<void()> toggleInspector) {
    QMenu* view = window_.menuBar()->addMenu(tr("&View"));
    inspector_ = add(view, QStringLiteral("inspector"), tr("Hide Inspector"),
                     {keys(Qt::CTRL | Qt::Key_I)}, std::move(toggleInspector));
}

void AppMenus::fillHelp() {
    QMenu* help = window_.menuBar()->addMenu(tr("&Help"));
    const auto open = [](QUrl (*link)()) { return [link] { QDesktopServices::openUrl(link()); }; };
    add(help, QStringLiteral("website"), tr("Vimbo Website"), {},
        open([] { return Links::website(); }));
    add(help, QStringLiteral("support"), tr("Support & Privacy"), {},
        open([] { return Links::support(); }));
    add(help, QStringLiteral("contact"), tr("Contact Support"), {}, open(&Links::contact));
    help->addSeparator();
    add(help, QStringLiteral("newVersion"), tr("Check for a New Version…"), {},
        open([] { return Links::newVersion(); }));
    help->addSeparator();
    QAction* about = add(help, QStringLiteral("about"), tr("About Vimbo"), {}, [this] {
        QMessageBox::about(&window_, tr("About Vimbo"),
                           tr("<h3>Vimbo %1</h3><p>Joins photos and videos into one movie.</p>")
                               .arg(QApplication::applicationVersion()));
    });
    about->setMenuRole(QAction::AboutRole);
}

void AppMenus::setInspectorShown(bool shown) {
    inspector_->setText(shown ? tr("Hide Inspector") : tr("Show Inspector"));
}

void AppMenus::refresh() {
    const bool hasClips = !project_.clips().empty();
    const bool hasSelection = !project_.selection().isEmpty();
    const bool running = exporter_.state().kind == ExportController::State::Kind::running;
    startOver_->setEnabled(hasClips);
    selectAll_->setEnabled(hasClips);
    export_->setEnabled(!running && !project_.usable().empty());
    rotateLeft_->setEnabled(hasSelection);
    rotateRight_->setEnabled(hasSelection);
    remove_->setEnabled(hasSelection);
    inspector_->setEnabled(hasClips);
}

} // namespace vimbo::ui
