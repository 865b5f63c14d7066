#pragma once

// "Add…": the open dialog for photos, videos and folders, wherever the window offers it (menu,
// toolbar, empty window, the filmstrip's add tile).

class QWidget;

namespace vimbo {

class Project;

namespace ui {

// Opens the dialog over `parent` and returns at once; the files and folders the user confirms
// are added to the project in one step. Cancelling adds nothing.
void chooseFiles(Project& project, QWidget* parent);

} // namespace ui
} // namespace vimbo
