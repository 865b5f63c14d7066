#include "ui/WindowToolbar.h"

#include "export/ExportController.h"
#include "model/Project.h"
#include "model/UndoNames.h"
#include "ui/FlatButtonStyle.h"
#include "ui/Icons.h"

#include <QAction>
#include <QActionGroup>
#include <QMenu>
#include <QToolButton>
#include <QUndoStack>

#include <algorithm>

namespace vimbo::ui {
namespace {

QString shapeName(FrameShape shape) {
    return ratioName(shape).value_or(WindowToolbar::tr("Auto"));
}

QString fillName(FillMode fill) {
    return fill == FillMode::fit ? WindowToolbar::tr("Fit") : WindowToolbar::tr("Fill");
}

bool isUpright(FrameShape shape) {
    return shape == FrameShape::tall || shape == FrameShape::portrait;
}

} // namespace

WindowToolbar::WindowToolbar(Project& project, ExportController& exporter, QWidget* parent)
    : QToolBar(tr("Toolbar"), parent)
    , project_(project)
    , exporter_(exporter)
    , style_(new FlatButtonStyle(this)) {
    setObjectName(QStringLiteral("windowToolbar"));
    setAccessibleName(tr("Toolbar"));
    setMovable(false);
    setFloatable(false);
    // The tool bar is part of the window's frame, not something to hide from a context menu.
    setContextMenuPolicy(Qt::PreventContextMenu);

    undo_ = makeButton(tr("Undo"), tr("Undo"), false);
    undo_->setIcon(icon(Icon::undo));
    connect(undo_, &QToolButton::clicked, this, [this] {
        if (QUndoStack* stack = project_.undoManager())
            stack->undo();
    });
    redo_ = makeButton(tr("Redo"), tr("Redo"), false);
    redo_->setIcon(icon(Icon::redo));
    connect(redo_, &QToolButton::clicked, this, [this] {
        if (QUndoStack* stack = project_.undoManager())
            stack->redo();
    });

    auto* spacer = new QWidget(this);
    spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    addWidget(spacer);

    add_ = makeButton(tr("Add"), tr("Add photos and videos"), true);
    add_->setIcon(icon(Icon::add));
    add_->setMenu(makeAddMenu());
    sort_ = makeButton(tr("Sort"), tr("Sort the clips"), true);
    sort_->setIcon(icon(Icon::sort));
    sort_->setMenu(makeSortMenu());
    frame_ = makeButton(QString(),
                        tr("Shape of the video, and fit with black bars or fill and crop"), true);
    frame_->setMenu(makeFrameMenu());
    export_ = makeButton(tr("Export"), tr("Export…"), true);
    export_->setIcon(icon(Icon::share));
    connect(export_, &QToolButton::clicked, this, &WindowToolbar::exportRequested);

    addSeparator();
    inspector_ = makeButton(tr("Inspector"), tr("Show or hide the inspector"), false);
    inspector_->setIcon(icon(Icon::inspector));
    inspector_->setCheckable(true);
    connect(inspector_, &QToolButton::clicked, this, [this] {
        // The window owns the flag: undo the button's own toggle and let the window answer
        // through setInspectorShown.
        refresh();
        emit inspectorToggled();
    });

    // setStyle does not reach children, and the separator is one the tool bar made itself.
    setStyle(style_);
    for (QWidget* child : findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
        child->setStyle(style_);

    for (auto changed : {&Project::clipsChanged, &Project::infoChanged, &Project::layoutChanged,
                         &Project::canUndoChanged, &Project::canRedoChanged})
        connect(&project_, changed, this, &WindowToolbar::refresh);
    connect(&exporter_, &ExportController::stateChanged, this, &WindowToolbar::refresh);
    refresh();
}

void WindowToolbar::setInspectorShown(bool shown) {
    inspectorShown_ = shown;
    refresh();
}

QString WindowToolbar::frameTitle(const Layout& layout) {
    return shapeName(layout.shape) + QStringLiteral(" \u00B7 ") + fillName(layout.fill);
}

QToolButton* WindowToolbar::makeButton(const QString& title, const QString& help, bool titled) {
    auto* button = new QToolButton(this);
    button->setText(title);
    button->setToolTip(help);
    button->setAccessibleName(title);
    button->setAccessibleDescription(help);
    button->setToolButtonStyle(titled ? Qt::ToolButtonTextBesideIcon : Qt::ToolButtonIconOnly);
    button->setAutoRaise(true);
    // Like Qt's own tool bar buttons: no keyboard focus, so a Space typed after start-up never
    // lands on Undo. Every button's command is in the window's menus with its shortcut.
    button->setFocusPolicy(Qt::NoFocus);
    // A menu opens on the press, like the window's menu bar, and no arrow is drawn.
    button->setPopupMode(QToolButton::InstantPopup);
    addWidget(button);
    return button;
}

QMenu* WindowToolbar::makeAddMenu() {
    auto* menu = new QMenu(this);
    menu->addAction(tr("Add…"), this, &WindowToolbar::addRequested);
    menu->addAction(tr("Add from Photos…"), this, &WindowToolbar::addFromPhotosRequested);
    return menu;
}

QMenu* WindowToolbar::makeSortMenu() {
    auto* menu = new QMenu(this);
    const std::pair<QString, SortOrder> orders[] = {
        {tr("Order Added"), SortOrder::orderAdded},
        {tr("Date Taken"), SortOrder::dateTaken},
        {tr("File Name"), SortOrder::fileName},
    };
    for (const auto& [title, order] : orders)
        menu->addAction(title, this, [this, order] { project_.sort(order); });
    return menu;
}

// The same two pickers as the inspector's merged-video section: same values, same titles, and
// a choice is one undo step with the same name.
QMenu* WindowToolbar::makeFrameMenu() {
    auto* menu = new QMenu(this);
    shapes_ = new QActionGroup(menu);
    for (FrameShape shape : allFrameShapes) {
        QAction* action = shapes_->addAction(shapeName(shape));
        action->setCheckable(true);
        connect(action, &QAction::triggered, this, [this, shape] {
            project_.setLayout({shape, project_.layout().fill}, UndoName::changeShape);
        });
    }
    fills_ = new QActionGroup(menu);
    for (FillMode fill : allFillModes) {
        QAction* action = fills_->addAction(fillName(fill));
        action->setCheckable(true);
        connect(action, &QAction::triggered, this, [this, fill] {
            project_.setLayout({project_.layout().shape, fill}, UndoName::changeFill);
        });
    }
    addPicker(menu, tr("Shape"), shapes_);
    addPicker(menu, tr("Scale"), fills_);
    return menu;
}

void WindowToolbar::addPicker(QMenu* menu, const QString& heading, QActionGroup* group) {
    menu->addSection(heading);
    menu->addActions(group->actions());
}

void WindowToolbar::refresh() {
    const bool hasClips = !project_.clips().empty();
    undo_->setEnabled(project_.canUndo());
    redo_->setEnabled(project_.canRedo());
    sort_->setEnabled(project_.clips().size() >= 2);
    frame_->setEnabled(hasClips);
    export_->setEnabled(!project_.usable().empty() &&
                        exporter_.state().kind != ExportController::State::Kind::running);
    inspector_->setEnabled(hasClips);
    inspector_->setChecked(inspectorShown_ && hasClips);
    refreshFrame();
}

void WindowToolbar::refreshFrame() {
    const Layout layout = project_.layout();
    const QString title = frameTitle(layout);
    if (frame_->text() != title) {
        frame_->setText(title);
        frame_->setAccessibleName(title);
    }
    if (frameUpright_ != isUpright(layout.shape)) {
        frameUpright_ = isUpright(layout.shape);
        frame_->setIcon(icon(*frameUpright_ ? Icon::framePortrait : Icon::frame));
    }
    // The groups hold one action per value, in the order of allFrameShapes and allFillModes.
    const auto shapeAt = std::find(allFrameShapes.begin(), allFrameShapes.end(), layout.shape);
    const auto fillAt = std::find(allFillModes.begin(), allFillModes.end(), layout.fill);
    shapes_->actions().at(shapeAt - allFrameShapes.begin())->setChecked(true);
    fills_->actions().at(fillAt - allFillModes.begin())->setChecked(true);
}

} // namespace vimbo::ui
