#pragma once

// The window's preview: one Player, a timeline rebuilt at reduced size whenever the clips, their
// edits or the layout change, swapped into the player without losing its position or play state,
// and the start of every clip within it so the window can jump to a clip.
//
// Lives on the interface thread and is used only there. A build runs on a worker thread (it
// opens files) and comes back as a queued call; a build overtaken by a newer update() or by
// cancelUpdates() is dropped when it lands. Destroying the Preview waits for a build under way.
//
// A build can start early: prepare() builds a key without installing it, so that the update()
// of the same key that follows (after the rebuild trigger's pause) installs it at once instead
// of opening every file only then. One such build runs at a time; a key that differs by the
// time of the update is built anew.

#include "model/Layout.h"
#include "model/Segment.h"
#include "preview/Player.h"

#include <QHash>
#include <QObject>
#include <QThreadPool>
#include <QUuid>

#include <cstdint>
#include <optional>
#include <vector>

namespace vimbo {

class Project;

class Preview : public QObject {
    Q_OBJECT
public:
    // What the preview is built from; any difference means a rebuild.
    struct Key {
        std::vector<QUuid> ids;        // the playable clips, in timeline order
        std::vector<Segment> segments; // the same clips resolved for the timeline, one for one
        Layout layout;
        friend bool operator==(const Key&, const Key&) = default;
    };

    // The long edge of the preview's frames, at most.
    static constexpr double maxLongEdge = 1280;
    // The offset into a clip that show() lands on.
    static constexpr double showOffset = 0.01;

    // The key of the project as it stands: its usable clips and its layout.
    static Key keyOf(const Project& project);

    explicit Preview(QObject* parent = nullptr);
    ~Preview() override;

    Player& player() { return player_; }

    // Brings the player to `key`: no item when it has no segment; otherwise a timeline built in
    // the background at a long edge of at most 1280, swapped in at the same position (or the new
    // end, if that is earlier) and in the same play state. A failed build changes nothing.
    void update(const Key& key);
    // Builds `key` in the background for an update() of the same key to come; nothing shows
    // until then. Does nothing while another early build runs, or when `key` is built already.
    void prepare(const Key& key);
    // Drops the result of every build under way (a newer key is coming).
    void cancelUpdates();
    // Seeks to just inside the clip's start; an id without a start does nothing.
    void show(const QUuid& id);

    // The start, in seconds, of every playable clip in the current item.
    const QHash<QUuid, double>& starts() const { return starts_; }

signals:
    void startsChanged();
    // A newly built item has replaced the player's (after its seek and play were issued).
    void itemReplaced();

private:
    void install(std::uint64_t ticket, const Key& key, std::shared_ptr<const Timeline> timeline);
    void prepared(const Key& key, std::shared_ptr<const Timeline> timeline);
    void setStarts(QHash<QUuid, double> starts);

    Player player_;
    QHash<QUuid, double> starts_;
    std::uint64_t ticket_ = 0; // of the latest update; earlier builds are dropped
    // The early build: the key under way, the latest one done, and the ticket of an update
    // that waits for the one under way (0: none).
    std::optional<Key> preparing_;
    std::optional<Key> preparedKey_;
    std::shared_ptr<const Timeline> preparedTimeline_;
    std::uint64_t awaiting_ = 0;
    QThreadPool builds_; // declared last: waited for first when the preview goes
};

} // namespace vimbo
