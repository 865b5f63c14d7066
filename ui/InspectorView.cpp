#include "ui/InspectorView.h"

#include "model/Project.h"
#include "model/TimeText.h"
#include "model/UndoNames.h"
#include "timeline/Timeline.h"
#include "ui/ElidedLabel.h"
#include "ui/Icons.h"
#include "ui/Segmented.h"
#include "ui/Tones.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QSignalBlocker>
#include <QSlider>
#include <QToolButton>
#include <QVBoxLayout>

#include <array>
#include <cmath>

namespace vimbo::ui {
namespace {

constexpr double minimumKept = ClipEdits::shortestClip;

int milliseconds(double seconds) {
    return static_cast<int>(std::lround(seconds * 1000));
}

QString sizeText(Size size) {
    return QStringLiteral("%1 \u00D7 %2")
        .arg(std::lround(size.width))
        .arg(std::lround(size.height));
}

// "1920 × 1080 · 0:42 · 29.97 fps · HDR"; a photo: "4032 × 3024".
QString details(const MediaInfo& info) {
    QStringList parts{sizeText(info.size)};
    if (info.kind == MediaKind::video) {
        parts << TimeText::short_(info.duration)
              << InspectorView::tr("%1 fps").arg(TimeText::frameRate(info.frameRate));
        if (info.isHDR)
            parts << QStringLiteral("HDR");
    }
    return parts.join(QStringLiteral(" \u00B7 "));
}

QGroupBox* section(const QString& title, QFormLayout*& form) {
    auto* box = new QGroupBox(title);
    form = new QFormLayout(box);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setLabelAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    return box;
}

QLabel* valueLabel(const QString& name) {
    auto* label = new QLabel;
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    label->setAccessibleName(name);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

// A toggle over several clips that shows "some" as the mixed state, and whose click from
// mixed turns every clip on, as a person expects of a switch.
class MixedCheckBox : public QCheckBox {
public:
    using QCheckBox::QCheckBox;

protected:
    void nextCheckState() override {
        setCheckState(checkState() == Qt::Checked ? Qt::Unchecked : Qt::Checked);
    }
};

// The photo duration: the arrows climb the ladder of durations; a typed value is taken as it
// is. Its text is "3 s".
class DurationBox : public QDoubleSpinBox {
public:
    DurationBox() {
        setRange(minimumKept, 3600);
        setDecimals(1);
        setKeyboardTracking(false);
        setAlignment(Qt::AlignRight);
        // The text field inside is what a screen reader lands on when typing a duration.
        lineEdit()->setAccessibleName(InspectorView::tr("Duration"));
    }
    void stepBy(int steps) override {
        double v = value();
        for (int i = 0; i < std::abs(steps); ++i)
            v = InspectorView::stepDuration(steps, v);
        setValue(v);
        selectAll();
    }
    QString textFromValue(double value) const override {
        return InspectorView::tr("%1 s").arg(TimeText::seconds(value));
    }
    double valueFromText(const QString& text) const override {
        QString number = text;
        number.remove(InspectorView::tr("s")).remove(u' ');
        return locale().toDouble(number);
    }
    QValidator::State validate(QString& text, int&) const override {
        bool ok = false;
        QString number = text;
        number.remove(InspectorView::tr("s")).remove(u' ');
        locale().toDouble(number, &ok);
        return ok || number.isEmpty() ? QValidator::Acceptable : QValidator::Intermediate;
    }

protected:
    StepEnabled stepEnabled() const override { return StepUpEnabled | StepDownEnabled; }
};

} // namespace

double InspectorView::stepDuration(int direction, double value) {
    static const std::array<double, 25> ladder = [] {
        std::array<double, 25> l{};
        std::size_t n = 0;
        for (int half = 1; half <= 10; ++half)
            l[n++] = half * 0.5;
        for (int s = 6; s <= 10; ++s)
            l[n++] = s;
        for (int s = 15; s <= 60; s += 5)
            l[n++] = s;
        return l;
    }();
    if (direction > 0) {
        for (const double v : ladder)
            if (v > value + 0.001)
                return v;
        return std::max(ladder.back(), value);
    }
    for (auto it = ladder.rbegin(); it != ladder.rend(); ++it)
        if (*it < value - 0.001)
            return *it;
    return std::min(ladder.front(), value);
}

InspectorView::InspectorView(Project& project, QWidget* parent)
    : QWidget(parent)
    , project_(project) {
    setAccessibleName(tr("Inspector"));
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    auto* scroll = new QScrollArea;
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto* inner = new QWidget;
    column_ = new QVBoxLayout(inner);
    column_->setContentsMargins(12, 12, 12, 12);
    column_->addStretch();
    scroll->setWidget(inner);
    outer->addWidget(scroll);

    for (auto changed : {&Project::clipsChanged, &Project::layoutChanged, &Project::infoChanged,
                         &Project::selectionChanged})
        connect(&project, changed, this, &InspectorView::projectChanged);
    rebuild(makeup());
    refresh();
}

InspectorView::Makeup InspectorView::makeup() const {
    Makeup m;
    m.empty = project_.selection().isEmpty();
    m.count = project_.selection().size();
    for (const Clip& clip : project_.selectedClips())
        if (const auto info = project_.info().constFind(clip.id);
            info != project_.info().constEnd())
            m.read.emplace_back(clip.id, info->kind);
    return m;
}

void InspectorView::projectChanged() {
    if (const Makeup now = makeup(); !(now == shown_))
        rebuild(now);
    refresh();
}

void InspectorView::rebuild(const Makeup& makeup) {
    shown_ = makeup;
    if (content_) {
        content_->hide();
        content_->deleteLater(); // a control of it may be the one whose signal brought us here
    }
    shape_ = nullptr;
    fill_ = nullptr;
    clips_ = length_ = size_ = details_ = count_ = startText_ = endText_ = nullptr;
    name_ = nullptr;
    start_ = end_ = nullptr;
    speed_ = nullptr;
    mute_ = nullptr;
    duration_ = nullptr;

    content_ = new QWidget;
    auto* layout = new QVBoxLayout(content_);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(12);
    if (makeup.empty) {
        layout->addWidget(mergedSections());
    } else {
        layout->addWidget(headerSection(makeup));
        const auto count = [&](MediaKind kind) {
            return std::count_if(makeup.read.begin(), makeup.read.end(),
                                 [kind](const auto& entry) { return entry.second == kind; });
        };
        const auto videos = count(MediaKind::video);
        const auto photos = count(MediaKind::photo);
        if (videos > 0)
            layout->addWidget(videoSection(photos > 0, videos == 1));
        if (photos > 0)
            layout->addWidget(photoSection(videos > 0));
        if (videos > 0 || photos > 0)
            layout->addWidget(rotateSection());
    }
    column_->insertWidget(0, content_);
}

QWidget* InspectorView::mergedSections() {
    auto* both = new QWidget;
    auto* layout = new QVBoxLayout(both);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(12);

    QFormLayout* form = nullptr;
    layout->addWidget(section(tr("Merged Video"), form));
    shape_ = new QComboBox;
    shape_->setAccessibleName(tr("Shape"));
    for (const FrameShape shape : allFrameShapes)
        shape_->addItem(ratioName(shape).value_or(tr("Auto")));
    connect(shape_, &QComboBox::activated, this, [this](int index) {
        Layout chosen = project_.layout();
        chosen.shape = allFrameShapes.at(static_cast<std::size_t>(index));
        project_.setLayout(chosen, UndoName::changeShape);
    });
    form->addRow(tr("Shape"), shape_);

    fill_ = new Segmented(tr("Scale"), {tr("Fit"), tr("Fill")});
    fill_->onChosen([this](int index) {
        Layout chosen = project_.layout();
        chosen.fill = allFillModes.at(static_cast<std::size_t>(index));
        project_.setLayout(chosen, UndoName::changeFill);
    });
    form->addRow(tr("Scale"), fill_);

    layout->addWidget(section({}, form));
    form->addRow(tr("Clips"), clips_ = valueLabel(tr("Clips")));
    form->addRow(tr("Length"), length_ = valueLabel(tr("Length")));
    form->addRow(tr("Size"), size_ = valueLabel(tr("Size")));
    return both;
}

QWidget* InspectorView::headerSection(const Makeup& makeup) {
    auto* header = new QWidget;
    auto* layout = new QVBoxLayout(header);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    QFont headline = font();
    headline.setBold(true);
    if (makeup.read.size() == 1) {
        name_ = new ElidedLabel;
        name_->setFont(headline);
        layout->addWidget(name_);
        if (makeup.read.front().second == MediaKind::video ||
            makeup.read.front().second == MediaKind::photo) {
            details_ = new QLabel;
            details_->setAccessibleName(tr("Details"));
            QPalette quiet = details_->palette();
            quiet.setColor(QPalette::WindowText, secondaryText(quiet));
            details_->setPalette(quiet);
            layout->addWidget(details_);
        }
    } else {
        count_ = new QLabel;
        count_->setFont(headline);
        layout->addWidget(count_);
    }
    return header;
}

QWidget* InspectorView::videoSection(bool titled, bool trimmed) {
    QFormLayout* form = nullptr;
    QGroupBox* box = section(titled ? tr("Videos") : QString(), form);
    if (trimmed) {
        const auto row = [&](const QString& name, QSlider*& slider, QLabel*& text, bool start) {
            slider = new QSlider(Qt::Horizontal);
            slider->setAccessibleName(name);
            slider->setSingleStep(100);
            slider->setPageStep(1000);
            text = new QLabel;
            text->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
            text->setMinimumWidth(fontMetrics().horizontalAdvance(QStringLiteral("00:00.0")) + 4);
            text->setAccessibleName(tr("%1 time").arg(name));
            // One drag is one step; a key press or a click beside the handle is one by itself.
            connect(slider, &QSlider::sliderPressed, this, [this] { project_.beginGesture(); });
            connect(slider, &QSlider::sliderReleased, this,
                    [this] { project_.endGesture(UndoName::trim); });
            connect(slider, &QSlider::valueChanged, this,
                    [this, start](int value) { trimTo(start, value); });
            auto* line = new QHBoxLayout;
            line->addWidget(slider, 1);
            line->addWidget(text);
            form->addRow(name, line);
        };
        row(tr("Start"), start_, startText_, true);
        row(tr("End"), end_, endText_, false);
    }
    speed_ = new QComboBox;
    speed_->setAccessibleName(tr("Speed"));
    for (const double speed : ClipEdits::speeds)
        speed_->addItem(TimeText::seconds(speed) + u'\u00D7', speed);
    connect(speed_, &QComboBox::activated, this, [this](int index) {
        const double speed = speed_->itemData(index).toDouble();
        project_.edit(UndoName::changeSpeed, setOf(MediaKind::video),
                      [speed](ClipEdits& e, const MediaInfo&) { e.speed = speed; });
    });
    form->addRow(tr("Speed"), speed_);

    mute_ = new MixedCheckBox(tr("Mute"));
    mute_->setAccessibleName(tr("Mute"));
    connect(mute_, &QCheckBox::clicked, this, [this](bool on) {
        // Each clip is its own edit; made in one go, they are undone as one step.
        for (const QUuid& id : idsOf(MediaKind::video))
            project_.edit(UndoName::mute, QSet<QUuid>{id},
                          [on](ClipEdits& e, const MediaInfo&) { e.muted = on; });
    });
    form->addRow(mute_);
    return box;
}

QWidget* InspectorView::photoSection(bool titled) {
    QFormLayout* form = nullptr;
    QGroupBox* box = section(titled ? tr("Photos") : QString(), form);
    duration_ = new DurationBox;
    duration_->setAccessibleName(tr("Duration"));
    connect(duration_, &QDoubleSpinBox::valueChanged, this, [this](double seconds) {
        if (refreshing_)
            return;
        project_.edit(UndoName::changeDuration, setOf(MediaKind::photo),
                      [seconds](ClipEdits& e, const MediaInfo&) { e.photoDuration = seconds; });
    });
    form->addRow(tr("Duration"), duration_);
    return box;
}

QWidget* InspectorView::rotateSection() {
    QFormLayout* form = nullptr;
    QGroupBox* box = section({}, form);
    auto* buttons = new QWidget;
    auto* line = new QHBoxLayout(buttons);
    line->setContentsMargins(0, 0, 0, 0);
    line->setSpacing(4);
    const std::tuple<Icon, QString, QString, int> turns[] = {
        {Icon::rotateLeft, tr("Rotate Left"), QStringLiteral("\u21BA"), -1},
        {Icon::rotateRight, tr("Rotate Right"), QStringLiteral("\u21BB"), 1}};
    for (const auto& [symbol, name, fallback, by] : turns) {
        auto* button = new QToolButton;
        button->setIcon(icon(symbol));
        if (button->icon().isNull())
            button->setText(fallback);
        button->setToolTip(name);
        button->setAccessibleName(name);
        connect(button, &QToolButton::clicked, this,
                [this, by = by] { project_.rotateSelection(by); });
        line->addWidget(button);
    }
    line->addStretch();
    form->addRow(tr("Rotate"), buttons);
    return box;
}

void InspectorView::refresh() {
    refreshing_ = true;
    if (shown_.empty)
        refreshMerged();
    else
        refreshClips();
    refreshing_ = false;
}

void InspectorView::refreshMerged() {
    const QSignalBlocker shapeQuiet(shape_);
    const auto shape =
        std::find(allFrameShapes.begin(), allFrameShapes.end(), project_.layout().shape);
    shape_->setCurrentIndex(static_cast<int>(shape - allFrameShapes.begin()));
    fill_->setCurrent(static_cast<int>(project_.layout().fill));
    std::vector<Segment> segments;
    for (const auto& [id, segment] : project_.usable())
        segments.push_back(segment);
    clips_->setText(QString::number(segments.size()));
    length_->setText(TimeText::short_(project_.duration()));
    size_->setText(sizeText(Timeline::renderSize(segments, project_.layout())));
}

void InspectorView::refreshClips() {
    if (name_) {
        const QUuid id = shown_.read.front().first;
        const Clip* c = clip(id);
        name_->setFullText(c ? c->url.fileName() : QString());
        if (details_)
            details_->setText(details(project_.info().value(id)));
    }
    if (count_)
        count_->setText(tr("%n Clip(s)", nullptr, static_cast<int>(shown_.count)));
    const std::vector<QUuid> videos = idsOf(MediaKind::video);
    if (start_ && end_ && videos.size() == 1) {
        const Clip* c = clip(videos.front());
        const double d = project_.info().value(videos.front()).duration;
        const ClipEdits& e = c->edits;
        const QSignalBlocker quietStart(start_);
        const QSignalBlocker quietEnd(end_);
        start_->setRange(0, milliseconds(std::max(minimumKept, d - e.trimEnd - minimumKept)));
        start_->setValue(milliseconds(e.trimStart));
        end_->setRange(milliseconds(std::min(e.trimStart + minimumKept, d - minimumKept)),
                       milliseconds(d));
        end_->setValue(milliseconds(d - e.trimEnd));
        startText_->setText(TimeText::precise(e.trimStart));
        endText_->setText(TimeText::precise(d - e.trimEnd));
    }
    if (speed_ && !videos.empty()) {
        const QSignalBlocker quiet(speed_);
        speed_->setCurrentIndex(speed_->findData(clip(videos.front())->edits.speed));
        int muted = 0;
        for (const QUuid& id : videos)
            muted += clip(id)->edits.muted ? 1 : 0;
        mute_->setCheckState(muted == 0                                 ? Qt::Unchecked
                             : muted == static_cast<int>(videos.size()) ? Qt::Checked
                                                                        : Qt::PartiallyChecked);
    }
    if (duration_) {
        if (const std::vector<QUuid> photos = idsOf(MediaKind::photo); !photos.empty())
            duration_->setValue(clip(photos.front())->edits.photoDuration);
    }
}

void InspectorView::trimTo(bool start, int value) {
    const std::vector<QUuid> videos = idsOf(MediaKind::video);
    if (refreshing_ || videos.size() != 1)
        return;
    const double seconds = value / 1000.0;
    QSlider* slider = start ? start_ : end_;
    // While dragging the edits are unnamed; the drag's end makes them one "Trim" step.
    const char* name = slider->isSliderDown() ? nullptr : UndoName::trim;
    project_.edit(name, QSet<QUuid>{videos.front()},
                  [start, seconds](ClipEdits& e, const MediaInfo& info) {
                      if (start)
                          e.trimStart = seconds;
                      else
                          e.trimEnd = info.duration - seconds;
                  });
}

std::vector<QUuid> InspectorView::idsOf(MediaKind kind) const {
    std::vector<QUuid> ids;
    for (const auto& [id, k] : shown_.read)
        if (k == kind)
            ids.push_back(id);
    return ids;
}

QSet<QUuid> InspectorView::setOf(MediaKind kind) const {
    QSet<QUuid> ids;
    for (const QUuid& id : idsOf(kind))
        ids.insert(id);
    return ids;
}

const Clip* InspectorView::clip(const QUuid& id) const {
    for (const Clip& c : project_.clips())
        if (c.id == id)
            return &c;
    return nullptr;
}

} // namespace vimbo::ui
