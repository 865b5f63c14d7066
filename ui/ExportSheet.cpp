#include "ui/ExportSheet.h"

#include "export/CopyVerdict.h"
#include "export/Destination.h"
#include "export/ExportController.h"
#include "export/ExportFailure.h"
#include "export/Exporter.h"
#include "model/Project.h"
#include "timeline/Timeline.h"
#include "ui/Segmented.h"
#include "ui/Tones.h"

#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QFutureWatcher>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QSettings>
#include <QStandardPaths>
#include <QThreadPool>
#include <QTimer>
#include <QVBoxLayout>
#include <QtConcurrent/qtconcurrenttask.h>

#include <cmath>

namespace vimbo::ui {
namespace {

const QString formatKey = QStringLiteral("format");
const QString qualityKey = QStringLiteral("quality");
const QString folderKey = QStringLiteral("exportFolder");

// One question at a time, on a thread of its own: not Qt's global pool, which Qt's painting
// shares, and not behind the project's queue of probes.
QThreadPool& judges() {
    static QThreadPool pool;
    pool.setMaxThreadCount(1);
    return pool;
}

// What the save dialog needs to start the export once a file is chosen.
struct Job {
    std::vector<Segment> segments;
    Layout layout;
    ExportFormat format;
    ExportQuality quality;
    std::vector<QString> clips; // every clip's file, usable or not: the movie replaces none
    std::shared_ptr<const CopyVerdict> verdict; // the sheet's, when it was for these clips
};

// The window to put the save dialog on: the sheet's own, else the first visible main window.
QWidget* hostWindow(QWidget* sheet) {
    if (QWidget* parent = sheet->parentWidget())
        return parent->window();
    for (QWidget* w : QApplication::topLevelWidgets())
        if (w != sheet && w->isVisible() && w->windowType() == Qt::Window)
            return w;
    return nullptr;
}

// The sentence, on the window, before `then`.
void refuse(QWidget* host, const QString& why, const std::function<void()>& then) {
    auto* box = new QMessageBox(QMessageBox::Warning, ExportSheet::tr("Export"), why,
                                QMessageBox::Ok, host);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(host ? Qt::WindowModal : Qt::ApplicationModal);
    QObject::connect(box, &QMessageBox::finished, box, then);
    box->open();
}

// Where the save dialog starts: the folder of the last export, else the desktop's Videos
// folder, else home. A folder that is gone is passed over: the dialog would show the current
// folder instead.
QString startFolder() {
    for (const QString& folder : {QSettings().value(folderKey).toString(),
                                  QStandardPaths::writableLocation(QStandardPaths::MoviesLocation)})
        if (!folder.isEmpty() && QFileInfo(folder).isDir())
            return folder;
    return QDir::homePath();
}

// `refused`: a file chosen before and refused, to choose again beside it.
void showSaveDialog(QWidget* host, ExportController& controller, const Job& job,
                    const QString& refused = {}) {
    auto* dialog = new QFileDialog(host, ExportSheet::tr("Export"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setFileMode(QFileDialog::AnyFile);
    dialog->setOption(QFileDialog::ReadOnly, false); // "New Folder" stays offered
    const QString extension = fileExtension(job.format);
    dialog->setNameFilter(job.format == ExportFormat::mp4
                              ? ExportSheet::tr("MPEG-4 Movie (*.mp4)")
                              : ExportSheet::tr("QuickTime Movie (*.mov)"));
    dialog->setDefaultSuffix(extension);
    dialog->setDirectory(startFolder());
    dialog->selectFile(ExportSheet::tr("Merged Video") + u'.' + extension);
    if (!refused.isEmpty())
        dialog->selectFile(refused);
    dialog->setWindowModality(host ? Qt::WindowModal : Qt::ApplicationModal);
    QObject::connect(dialog, &QFileDialog::fileSelected, dialog,
                     [host = QPointer<QWidget>(host),
                      target = QPointer<ExportController>(&controller), job](const QString& path) {
                         if (path.isEmpty() || !target)
                             return;
                         // After "Replace?" and before anything is touched.
                         if (const auto clip = sameFileAs(path, job.clips)) {
                             refuse(host, ExportFailure::overClip(*clip).errorDescription(),
                                    [host, target, job, path] {
                                        if (target)
                                            showSaveDialog(host, *target, job, path);
                                    });
                             return;
                         }
                         QSettings().setValue(folderKey, QFileInfo(path).absolutePath());
                         target->start(job.segments, job.layout, job.format, job.quality,
                                       QUrl::fromLocalFile(path), job.verdict);
                     });
    dialog->open();
}

QString sizeText(Size size) {
    return QStringLiteral("%1 \u00D7 %2")
        .arg(std::lround(size.width))
        .arg(std::lround(size.height));
}

} // namespace

ExportSheet::ExportSheet(Project& project, ExportController& controller, QWidget* parent)
    : QDialog(parent)
    , project_(project)
    , controller_(controller)
    , format_(
          exportFormatFromRaw(QSettings().value(formatKey).toString()).value_or(ExportFormat::mp4))
    , quality_(exportQualityFromRaw(QSettings().value(qualityKey).toString())
                   .value_or(ExportQuality::original))
    , qualities_(new QComboBox)
    , size_(new QLabel)
    , footer_(new QLabel)
    , rejudge_(new QTimer(this)) {
    setWindowTitle(tr("Export"));
    setFixedWidth(400);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(20, 20, 20, 20);
    column->setSpacing(6);

    auto* box = new QGroupBox;
    auto* form = new QFormLayout(box);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    QStringList formatNames;
    for (const ExportFormat format : allExportFormats)
        formatNames << label(format);
    formats_ = new Segmented(tr("Format"), formatNames);
    formats_->setCurrent(static_cast<int>(format_));
    formats_->onChosen(
        [this](int index) { choose(allExportFormats.at(static_cast<std::size_t>(index))); });
    form->addRow(tr("Format"), formats_);

    qualities_->setAccessibleName(tr("Quality"));
    for (const ExportQuality quality : allExportQualities)
        qualities_->addItem(label(quality));
    qualities_->setCurrentIndex(static_cast<int>(quality_));
    connect(qualities_, &QComboBox::activated, this,
            [this](int index) { choose(allExportQualities.at(static_cast<std::size_t>(index))); });
    form->addRow(tr("Quality"), qualities_);

    size_->setAccessibleName(tr("Size"));
    size_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    form->addRow(tr("Size"), size_);
    column->addWidget(box);

    footer_->setWordWrap(true);
    footer_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    QFont callout = footer_->font();
    callout.setPointSizeF(callout.pointSizeF() * 0.92);
    footer_->setFont(callout);
    QPalette quiet = footer_->palette();
    quiet.setColor(QPalette::WindowText, secondaryText(quiet));
    footer_->setPalette(quiet);
    // Room for two lines whether or not there is a note, so the sheet does not jump.
    footer_->setMinimumHeight(2 * QFontMetrics(callout).lineSpacing());
    column->addWidget(footer_);

    auto* buttons = new QDialogButtonBox;
    QPushButton* cancelButton = buttons->addButton(QDialogButtonBox::Cancel);
    cancelButton->setAutoDefault(false);
    // Some desktop styles give the standard button an icon; Export… has none, and a lone red
    // cross beside it reads as a warning.
    cancelButton->setIcon(QIcon());
    QPushButton* exportButton =
        buttons->addButton(tr("Export\u2026"), QDialogButtonBox::AcceptRole);
    exportButton->setAccessibleName(tr("Export\u2026"));
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(exportButton, &QPushButton::clicked, this, &ExportSheet::exportClicked);
    column->addWidget(buttons);
    exportButton->setDefault(true); // Return; only takes once the button is inside the dialog

    // Probes landing and edits come in bursts; judge the copy once they settle.
    rejudge_->setSingleShot(true);
    rejudge_->setInterval(100);
    connect(rejudge_, &QTimer::timeout, this, &ExportSheet::refresh);
    for (auto changed : {&Project::clipsChanged, &Project::layoutChanged, &Project::infoChanged})
        connect(&project, changed, rejudge_, qOverload<>(&QTimer::start));
    refresh();
}

ExportSheet::~ExportSheet() {
    if (judging_)
        judging_->cancel();
}

bool ExportSheet::judging() const {
    return asking_ || rejudge_->isActive();
}

std::vector<Segment> ExportSheet::segments() const {
    std::vector<Segment> result;
    for (const auto& [id, segment] : project_.usable())
        result.push_back(segment);
    return result;
}

void ExportSheet::choose(ExportFormat format) {
    format_ = format;
    QSettings().setValue(formatKey, rawValue(format));
}

void ExportSheet::choose(ExportQuality quality) {
    quality_ = quality;
    QSettings().setValue(qualityKey, rawValue(quality));
    refresh();
}

void ExportSheet::refresh() {
    const std::vector<Segment> clips = segments();
    size_->setText(
        sizeText(Timeline::renderSize(clips, project_.layout(), Exporter::longEdgeCap(quality_))));
    if (quality_ != ExportQuality::original) {
        footer_->clear();
        return;
    }
    if (const Verdict* verdict = currentVerdict()) {
        const CopyVerdict* answer = verdict->answer.get(); // none: no promise either way
        footer_->setText(answer ? answer->line() : QString());
        return;
    }
    footer_->clear();
    judge();
}

// Works out in the background whether the export would copy; a newer question cancels an
// older one, and only the newest answer is shown.
void ExportSheet::judge() {
    if (judging_)
        judging_->cancel();
    judging_ = std::make_shared<CancelFlag>();
    const int generation = ++generation_;
    asking_ = true;
    Verdict question{segments(), project_.layout(), {}};
    using Answer = std::shared_ptr<const CopyVerdict>;
    auto* watcher = new QFutureWatcher<Answer>(this);
    connect(watcher, &QFutureWatcher<Answer>::finished, this,
            [this, watcher, generation, question] {
                watcher->deleteLater();
                if (generation != generation_ || watcher->future().resultCount() == 0)
                    return;
                asking_ = false;
                verdict_ = Verdict{question.segments, question.layout, watcher->result()};
                refresh();
            });
    watcher->setFuture(QtConcurrent::task([question, flag = judging_]() -> Answer {
                           try {
                               return std::make_shared<const CopyVerdict>(
                                   decideCopy(question.segments, question.layout, *flag));
                           } catch (...) {
                               return nullptr; // cancelled, or beyond saying
                           }
                       })
                           .onThreadPool(judges())
                           .spawn());
}

const ExportSheet::Verdict* ExportSheet::currentVerdict() const {
    if (!verdict_ || verdict_->segments != segments() || verdict_->layout != project_.layout())
        return nullptr;
    return &*verdict_;
}

void ExportSheet::exportClicked() {
    // Captured now: the export is what the sheet showed, whatever changes while the save
    // dialog is open.
    const Verdict* verdict = currentVerdict();
    Job job{segments(), project_.layout(), format_, quality_, {},
            verdict ? verdict->answer : nullptr};
    for (const Clip& clip : project_.clips())
        job.clips.push_back(clip.url.toLocalFile());
    QWidget* host = hostWindow(this);
    ExportController& controller = controller_;
    accept(); // the sheet closes before the save dialog opens
    showSaveDialog(host, controller, job);
}

} // namespace vimbo::ui
