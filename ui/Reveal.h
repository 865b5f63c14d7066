#pragma once

// "Show in Folder": asks the desktop's file manager to show the files, selected, in their
// folders (the freedesktop FileManager1 ShowItems call on the session bus); where no file
// manager answers, opens each folder instead. Returns at once: the call and its fallback run
// asynchronously. Interface thread.

#include <QList>
#include <QUrl>

namespace vimbo::ui {

void revealInFileManager(const QList<QUrl>& files);

} // namespace vimbo::ui
