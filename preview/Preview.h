// Stand-in until the real view lands.
#pragma once

#include "model/Layout.h"
#include "model/Segment.h"
#include "preview/Player.h"

#include <QHash>
#include <QObject>
#include <QUuid>

#include <vector>

namespace vimbo {

class Project;

// Records the keys it is asked to show and derives each clip's start from the segments'
// lengths; it builds and plays nothing. Interface thread.
class Preview : public QObject {
    Q_OBJECT
public:
    struct Key {
        std::vector<QUuid> ids;
        std::vector<Segment> segments;
        Layout layout;
        friend bool operator==(const Key&, const Key&) = default;
    };

    static Key keyOf(const Project& project);

    explicit Preview(QObject* parent = nullptr);

    Player& player() { return player_; }
    void update(const Key& key);
    void show(const QUuid& id);
    const QHash<QUuid, double>& starts() const { return starts_; }

    // What update() and show() were last given.
    const Key& lastKey() const { return lastKey_; }
    int updates() const { return updates_; }
    const QUuid& shown() const { return shown_; }

signals:
    void startsChanged();

private:
    Player player_;
    QHash<QUuid, double> starts_;
    Key lastKey_;
    int updates_ = 0;
    QUuid shown_;
};

} // namespace vimbo
