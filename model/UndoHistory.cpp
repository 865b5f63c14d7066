#include "model/UndoHistory.h"

#include <QCoreApplication>
#include <QTimer>

namespace vimbo {

// One undo step: the whole undoable state before and after. The change has already happened
// when the step is pushed, so its first redo does nothing.
class SnapshotStep : public QUndoCommand {
public:
    SnapshotStep(Snapshot before, Snapshot after, const char* name,
                 const std::function<void(const Snapshot&)>& apply)
        : before_(std::move(before))
        , after_(std::move(after))
        , apply_(apply) {
        setText(QCoreApplication::translate("Undo", name));
    }

    void extend(Snapshot after, const char* name) {
        after_ = std::move(after);
        setText(QCoreApplication::translate("Undo", name));
    }

    void undo() override { apply_(before_); }
    void redo() override {
        if (pushed_)
            apply_(after_);
        pushed_ = true;
    }

private:
    Snapshot before_;
    Snapshot after_;
    std::function<void(const Snapshot&)> apply_;
    bool pushed_ = false;
};

UndoHistory::UndoHistory(std::function<void(const Snapshot&)> apply, QObject* parent)
    : QObject(parent)
    , apply_(std::move(apply)) {}

void UndoHistory::setStack(QUndoStack* stack) {
    for (auto& c : connections_)
        disconnect(c);
    stack_ = stack;
    openStep_ = nullptr;
    if (stack) {
        connections_[0] =
            connect(stack, &QUndoStack::canUndoChanged, this, &UndoHistory::abilitiesChanged);
        connections_[1] =
            connect(stack, &QUndoStack::canRedoChanged, this, &UndoHistory::abilitiesChanged);
        connections_[2] = connect(stack, &QObject::destroyed, this, [this] {
            openStep_ = nullptr;
            emit abilitiesChanged();
        });
    }
    emit abilitiesChanged();
}

void UndoHistory::record(const Snapshot& before, const Snapshot& after, const char* name) {
    if (!stack_)
        return;
    const int top = stack_->count() - 1;
    if (openStep_ && stack_->index() == top + 1 && stack_->command(top) == openStep_) {
        openStep_->extend(after, name);
        return;
    }
    auto step = std::make_unique<SnapshotStep>(before, after, name, apply_);
    openStep_ = step.get();
    stack_->push(step.release()); // the stack owns its commands
    // The step stays open until control returns to the event loop.
    QTimer::singleShot(0, this, [this, step = openStep_] {
        if (openStep_ == step)
            openStep_ = nullptr;
    });
}

} // namespace vimbo
