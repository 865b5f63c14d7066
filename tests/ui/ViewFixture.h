#pragma once

// What the view tests and the screenshot program share: a real project restored with chosen
// clips, an export controller, and finding controls by their accessible names.

#include "export/ExportController.h"
#include "model/MediaAccess.h"
#include "model/Project.h"
#include "tests/support/Media.h"

#include <QApplication>
#include <QUndoStack>
#include <QWidget>

#include <memory>
#include <vector>

namespace vimbo::test {

// The real media functions, thumbnails included, as the window wires them.
MediaAccess viewMedia();

// English with its plural forms ("2 Clips"), as the application loads it.
void useEnglish();

struct ClipSpec {
    QString path;
    ClipEdits edits = {};
};

// A generated movie copied to `folder` under `name`: 320 × 180, 30 fps, key frames every
// second, with a tone (unless silent), `seconds` long.
QString movie(const QString& folder, const QString& name, double seconds = 10,
              bool withSound = true);
// A generated 400 × 300 JPEG copied to `folder` under `name`.
QString picture(const QString& folder, const QString& name);

class Views {
public:
    Views();

    QString files() const { return files_; }
    // Starts the project over as if restored with these clips, with an empty undo stack; none
    // is probed until events are processed.
    void open(const std::vector<ClipSpec>& clips);
    // Waits until every clip is probed and every usable one has its thumbnail.
    bool read();
    QUuid id(const QString& fileName) const;
    std::vector<QString> order() const;

    Project& project() { return *project_; }
    QUndoStack& undo() { return *undo_; }
    ExportController& exporter() { return exporter_; }

private:
    QString root_;
    QString files_;
    std::unique_ptr<QUndoStack> undo_;
    std::unique_ptr<Project> project_;
    ExportController exporter_;
};

// The visible control under `root` with this accessible name, or null.
template <typename T = QWidget>
T* control(QWidget* root, const QString& name) {
    for (T* w : root->findChildren<T*>())
        if (w->accessibleName() == name && w->isVisibleTo(root))
            return w;
    return nullptr;
}

// The application's open top-level window of this type (a menu, a dialog), or null.
template <typename T>
T* openWindow() {
    for (QWidget* w : QApplication::topLevelWidgets())
        if (auto* t = qobject_cast<T*>(w); t && t->isVisible())
            return t;
    return nullptr;
}

} // namespace vimbo::test
