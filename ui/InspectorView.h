#pragma once

// The right-hand column's content. With nothing selected: the merged video's frame shape and
// fit or fill, and its clip count, length and size. With clips selected: a header naming the
// clip (with its size, length, frame rate) or counting the clips, then the edits that apply:
// trim for a single video, speed and mute for videos, the shown time for photos, and rotation.
//
// Every change goes through the project and is one undo step under its name ("Trim",
// "Change Speed", "Mute", "Change Duration", "Rotate", "Change Shape", "Change Fill"); a whole
// slider drag is one "Trim" step. The view keeps no state of its own: it re-reads the project
// on every change, rebuilding its controls only when the selection's make-up changes, so a
// slider being dragged is never replaced under the pointer. Interface thread; the project must
// outlive the view.

#include "model/MediaInfo.h"

#include <QPointer>
#include <QUuid>
#include <QWidget>

#include <utility>
#include <vector>

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QLabel;
class QSlider;
class QVBoxLayout;

namespace vimbo {
class Project;
struct Clip;
} // namespace vimbo

namespace vimbo::ui {

class ElidedLabel;
class Segmented;

class InspectorView : public QWidget {
    Q_OBJECT
public:
    explicit InspectorView(Project& project, QWidget* parent = nullptr);

    // The photo duration stepper's ladder: the next value up (direction > 0) or down from
    // `value` among 0.5, 1 … 5 (every 0.5), 6 … 10, 15 … 60 (every 5); a value beyond the
    // ladder's end stays where it is rather than step the wrong way.
    static double stepDuration(int direction, double value);

private:
    // What the controls are made for: the selected clips that have been read, and their kinds.
    struct Makeup {
        bool empty = true;
        qsizetype count = 0;
        std::vector<std::pair<QUuid, MediaKind>> read;
        friend bool operator==(const Makeup&, const Makeup&) = default;
    };

    Makeup makeup() const;
    void projectChanged();
    void rebuild(const Makeup& makeup);
    QWidget* mergedSections();
    QWidget* headerSection(const Makeup& makeup);
    QWidget* videoSection(bool titled, bool trimmed);
    QWidget* photoSection(bool titled);
    QWidget* rotateSection();
    void refresh();
    void refreshMerged();
    void refreshClips();

    std::vector<QUuid> idsOf(MediaKind kind) const;
    QSet<QUuid> setOf(MediaKind kind) const;
    const Clip* clip(const QUuid& id) const;
    void trimTo(bool start, int milliseconds);

    Project& project_;
    QVBoxLayout* column_;
    QPointer<QWidget> content_;
    Makeup shown_;
    bool refreshing_ = false;

    // Controls of the current make-up; null when not shown.
    QComboBox* shape_ = nullptr;
    Segmented* fill_ = nullptr;
    QLabel* clips_ = nullptr;
    QLabel* length_ = nullptr;
    QLabel* size_ = nullptr;
    ElidedLabel* name_ = nullptr;
    QLabel* details_ = nullptr;
    QLabel* count_ = nullptr;
    QSlider* start_ = nullptr;
    QLabel* startText_ = nullptr;
    QSlider* end_ = nullptr;
    QLabel* endText_ = nullptr;
    QComboBox* speed_ = nullptr;
    QCheckBox* mute_ = nullptr;
    QDoubleSpinBox* duration_ = nullptr;
};

} // namespace vimbo::ui
