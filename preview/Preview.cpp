// Stand-in until the real view lands.
#include "preview/Preview.h"

#include "model/Project.h"

namespace vimbo {

Preview::Key Preview::keyOf(const Project& project) {
    Key key;
    for (auto& [id, segment] : project.usable()) {
        key.ids.push_back(id);
        key.segments.push_back(std::move(segment));
    }
    key.layout = project.layout();
    return key;
}

Preview::Preview(QObject* parent)
    : QObject(parent) {}

void Preview::update(const Key& key) {
    lastKey_ = key;
    ++updates_;
    QHash<QUuid, double> starts;
    double at = 0;
    for (std::size_t i = 0; i < key.ids.size() && i < key.segments.size(); ++i) {
        starts.insert(key.ids[i], at);
        at += key.segments[i].duration();
    }
    if (starts != starts_) {
        starts_ = std::move(starts);
        emit startsChanged();
    }
}

void Preview::show(const QUuid& id) {
    if (starts_.contains(id))
        shown_ = id;
}

} // namespace vimbo
