#include "model/UndoHistory.h"

#include <QCoreApplication>
#include <QTimer>

#include <memory>

namespace vimbo {

// One undo step: the whole undoable state before and after. The change has already happened
// when the step is pushed, so its first redo does nothing. Changes made in the same turn of the
// event loop are pushed as steps with the open step's id, and the stack merges them into it:
// the stack then announces the new name (undoTextChanged), so the Edit menu never shows a stale
// one.
class SnapshotStep : public QUndoCommand {
public:
    SnapshotStep(Snapshot before, Snapshot after, const char* name,
                 const std::function<void(const Snapshot&)>& apply, int id)
        : before_(std::move(before))
        , after_(std::move(after))
        , apply_(apply)
        , id_(id) {
        setText(QCoreApplication::translate("Undo", name));
    }

    const Snapshot& before() const { return before_; }

    int id() const override { return id_; }
    bool mergeWith(const QUndoCommand* other) override {
        const auto* later = static_cast<const SnapshotStep*>(other); // same id: one of ours
        after_ = later->after_;
        setText(later->text());
        // Changes that undid each other in one turn leave no step; the stack drops it.
        setObsolete(after_ == before_);
        return true;
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
    int id_;
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
    const int count = stack_->count();
    // The stack merges only into its top step, and never across the point marked clean.
    const bool merges = openStep_ && stack_->index() == count &&
                        stack_->command(count - 1) == openStep_ && stack_->cleanIndex() != count;
    if (merges) {
        const bool cancelsOut = openStep_->before() == after;
        auto later = std::make_unique<SnapshotStep>(before, after, name, apply_, openStep_->id());
        stack_->push(later.release()); // merged into the open step and deleted by the stack
        if (cancelsOut)
            openStep_ = nullptr; // the stack deleted it
        return;
    }
    auto step = std::make_unique<SnapshotStep>(before, after, name, apply_, ++lastId_);
    openStep_ = step.get();
    stack_->push(step.release()); // the stack owns its commands
    // The step stays open until control returns to the event loop.
    QTimer::singleShot(0, this, [this, step = openStep_] {
        if (openStep_ == step)
            openStep_ = nullptr;
    });
}

} // namespace vimbo
