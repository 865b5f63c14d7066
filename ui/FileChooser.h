#pragma once

// "Add…": the open dialog for photos, videos and folders, which the window opens wherever it
// offers it (menu, toolbar, empty window, the filmstrip's add tile, the photo picker).

class QWidget;

namespace vimbo::ui {

class FileIntake;

// Opens the dialog over `parent` and returns at once; the files and folders the user confirms
// go to `intake` in one step. Cancelling adds nothing.
void chooseFiles(FileIntake& intake, QWidget* parent);

} // namespace vimbo::ui
