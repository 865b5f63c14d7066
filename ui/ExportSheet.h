#pragma once

// The small dialog in which a person picks the file format (MP4, MOV) and quality (Original,
// High, Smaller File), sees the movie's size and whether it will be a fast export, then
// chooses where to save. Under Original it says "Fast export, no re-encoding" exactly when the
// exporter will copy, "Fast export, re-encoding only …" when it copies all but the frames
// around trims off key frames, and otherwise which clip stops that and why; that verdict reads
// the clips' packet tables, so it is worked out in the background and shown when it lands, and
// the export it starts follows it rather than reading them again.
//
// Format and quality are kept in QSettings under "format" and "quality" (a value that cannot
// be read gives MP4 and Original). "Export…" closes the sheet, captures what to export (the
// playable clips, the layout, format and quality as shown) and opens the save dialog; the
// export starts only when that dialog is confirmed. A file there that is one of the project's
// clips is refused with the sentence that says so, and the dialog opens again. Interface
// thread; the project and the controller must outlive the sheet.

#include "export/ExportChoices.h"
#include "model/Layout.h"
#include "model/Segment.h"

#include <QDialog>

#include <memory>
#include <optional>
#include <vector>

class QComboBox;
class QLabel;
class QTimer;

namespace vimbo {
class CancelFlag;
class ExportController;
class Project;
struct CopyVerdict;
} // namespace vimbo

namespace vimbo::ui {

class Segmented;

class ExportSheet : public QDialog {
    Q_OBJECT
public:
    ExportSheet(Project& project, ExportController& controller, QWidget* parent = nullptr);
    ~ExportSheet() override;

    ExportFormat format() const { return format_; }
    ExportQuality quality() const { return quality_; }

    // Whether the footer's verdict for the clips as they are now is still being worked out.
    bool judging() const;

private:
    struct Verdict {
        std::vector<Segment> segments;
        Layout layout;
        std::shared_ptr<const CopyVerdict> answer; // null when there is no saying
    };

    std::vector<Segment> segments() const;
    // The last verdict that landed, when it is for the clips and layout as they are now.
    const Verdict* currentVerdict() const;
    void choose(ExportFormat format);
    void choose(ExportQuality quality);
    void refresh();
    void judge();
    void exportClicked();

    Project& project_;
    ExportController& controller_;
    ExportFormat format_;
    ExportQuality quality_;
    Segmented* formats_ = nullptr;
    QComboBox* qualities_;
    QLabel* size_;
    QLabel* footer_;
    QTimer* rejudge_;
    std::optional<Verdict> verdict_; // the last one that landed
    std::shared_ptr<CancelFlag> judging_;
    int generation_ = 0;
    bool asking_ = false; // the newest question has no answer yet
};

} // namespace vimbo::ui
