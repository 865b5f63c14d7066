#include "preview/Preview.h"

#include "model/Project.h"

#include <QMetaObject>

#include <utility>

namespace vimbo {
namespace {

// The key's timeline at the preview's size, or null when it cannot be built. Worker threads.
std::shared_ptr<const Timeline> built(const Preview::Key& key) {
    try {
        return std::make_shared<const Timeline>(
            Timeline::build(key.segments, key.layout, Preview::maxLongEdge, false));
    } catch (const std::exception&) {
        return nullptr;
    }
}

} // namespace

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
    // An early build serves one update at most: the files may change afterwards.
    const std::optional<Key> readyKey = std::exchange(preparedKey_, std::nullopt);
    std::shared_ptr<const Timeline> ready = std::move(preparedTimeline_);
    if (readyKey && *readyKey == key) {
        install(ticket, key, std::move(ready));
        return;
    }
    if (preparing_ && *preparing_ == key) {
        awaiting_ = ticket; // it lands soon: building it again would only come later
        return;
    }
    builds_.start([this, ticket, key] {
        const std::shared_ptr<const Timeline> timeline = built(key);
        if (!timeline)
            return; // a failed build is silent: the player keeps what it has
        QMetaObject::invokeMethod(
            this, [this, ticket, key, timeline] { install(ticket, key, timeline); },
            Qt::QueuedConnection);
    });
}

void Preview::prepare(const Key& key) {
    if (key.segments.empty() || preparing_ || (preparedKey_ && *preparedKey_ == key))
        return;
    preparing_ = key;
    builds_.start([this, key] {
        const std::shared_ptr<const Timeline> timeline = built(key);
        QMetaObject::invokeMethod(
            this, [this, key, timeline] { prepared(key, timeline); }, Qt::QueuedConnection);
    });
}

void Preview::prepared(const Key& key, std::shared_ptr<const Timeline> timeline) {
    preparing_.reset();
    const bool awaited = awaiting_ != 0 && awaiting_ == ticket_;
    awaiting_ = 0;
    if (!timeline)
        return; // a failed build is silent: the player keeps what it has
    if (awaited) {
        install(ticket_, key, std::move(timeline));
        return;
    }
    preparedKey_ = key;
    preparedTimeline_ = std::move(timeline);
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
