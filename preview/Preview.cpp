#include "preview/Preview.h"

#include "model/Project.h"

#include <QMetaObject>

namespace vimbo {

Preview::Key Preview::keyOf(const Project& project) {
    Key key;
    key.layout = project.layout();
    for (auto& [id, segment] : project.usable()) {
        key.ids.push_back(id);
        key.segments.push_back(std::move(segment));
    }
    return key;
}

Preview::Preview(QObject* parent)
    : QObject(parent) {
    // An overtaken build still runs to its end beside the newer one; neither waits.
    builds_.setMaxThreadCount(4);
}

Preview::~Preview() {
    builds_.waitForDone();
}

void Preview::cancelUpdates() {
    ++ticket_;
}

void Preview::update(const Key& key) {
    const std::uint64_t ticket = ++ticket_;
    if (key.segments.empty()) {
        player_.replaceCurrentItem(nullptr);
        setStarts({});
        return;
    }
    builds_.start([this, ticket, key] {
        std::shared_ptr<const Timeline> timeline;
        try {
            timeline = std::make_shared<const Timeline>(
                Timeline::build(key.segments, key.layout, maxLongEdge, false));
        } catch (const std::exception&) {
            return; // a failed build is silent: the player keeps what it has
        }
        QMetaObject::invokeMethod(
            this, [this, ticket, key, timeline] { install(ticket, key, timeline); },
            Qt::QueuedConnection);
    });
}

void Preview::install(std::uint64_t ticket, const Key& key,
                      std::shared_ptr<const Timeline> timeline) {
    if (ticket != ticket_)
        return; // a newer key is on its way
    const MediaTime position = player_.currentTime();
    const bool wasPlaying = player_.rate() != 0;
    // A position of zero means no seek: the new item starts at its beginning. Otherwise the
    // same place, or the new end if that is earlier, exactly; the swap and the seek are one
    // step, so the decoders go straight there.
    player_.replaceCurrentItem(timeline, position > MediaTime::zero()
                                             ? std::min(position, timeline->duration())
                                             : MediaTime::zero());
    if (wasPlaying)
        player_.play();
    QHash<QUuid, double> starts;
    const std::vector<double>& at = timeline->starts();
    for (std::size_t i = 0; i < std::min(key.ids.size(), at.size()); ++i)
        starts.insert(key.ids[i], at[i]);
    setStarts(std::move(starts));
    emit itemReplaced();
}

void Preview::setStarts(QHash<QUuid, double> starts) {
    if (starts == starts_)
        return;
    starts_ = std::move(starts);
    emit startsChanged();
}

void Preview::show(const QUuid& id) {
    const auto it = starts_.constFind(id);
    if (it == starts_.constEnd())
        return;
    player_.seek(MediaTime::fromSeconds(*it + showOffset));
}

} // namespace vimbo
