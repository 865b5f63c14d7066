#pragma once

#include "model/Snapshot.h"

#include <QObject>
#include <QPointer>
#include <QUndoStack>

#include <functional>

namespace vimbo {

class SnapshotStep;

// Turns the project's named changes into steps on the window's undo stack. The stack belongs
// to the window and may be replaced or destroyed at any time; this holds it weakly. Changes
// registered during one turn of the event loop form one step (a switch that edits several clips
// one by one is undone at once), named after the last of them; the stack announces each new
// name. Interface thread only.
class UndoHistory : public QObject {
    Q_OBJECT
public:
    // apply puts a snapshot back into the project when a step is undone or redone.
    explicit UndoHistory(std::function<void(const Snapshot&)> apply, QObject* parent = nullptr);

    void setStack(QUndoStack* stack);
    QUndoStack* stack() const { return stack_; }

    // One change from `before` to `after` (which differ) under a name of the "Undo" context.
    void record(const Snapshot& before, const Snapshot& after, const char* name);

    bool canUndo() const { return stack_ && stack_->canUndo(); }
    bool canRedo() const { return stack_ && stack_->canRedo(); }

signals:
    // canUndo() or canRedo() may have changed.
    void abilitiesChanged();

private:
    std::function<void(const Snapshot&)> apply_;
    QPointer<QUndoStack> stack_;
    QMetaObject::Connection connections_[3];
    SnapshotStep* openStep_ = nullptr; // the step of the current event-loop turn, owned by stack_
    int lastId_ = 0;                   // each step's merge id; merging ones share the open one's
};

} // namespace vimbo
