// Stand-in until the real view lands.
#include "ui/ExportSheet.h"

#include "export/ExportController.h"
#include "model/Project.h"

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

namespace vimbo::ui {

ExportSheet::ExportSheet(Project& project, ExportController& controller, QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(tr("Export"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("Export sheet"), this));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
    QPushButton* exportButton = buttons->addButton(tr("Export…"), QDialogButtonBox::AcceptRole);
    exportButton->setDefault(true);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    QPointer<Project> target(&project);
    connect(this, &QDialog::finished, this, [target] {
        if (target)
            target->setShowExport(false);
    });
    connect(this, &QDialog::accepted, this, [target, &controller, host = parent] {
        if (!target)
            return;
        auto* save = new QFileDialog(host, tr("Export"), tr("Merged Video") + ".mp4");
        save->setAttribute(Qt::WA_DeleteOnClose);
        save->setOption(QFileDialog::DontUseNativeDialog);
        save->setAcceptMode(QFileDialog::AcceptSave);
        connect(save, &QFileDialog::fileSelected, save, [target, &controller](const QString& path) {
            if (!target)
                return;
            std::vector<Segment> segments;
            for (auto& [id, segment] : target->usable())
                segments.push_back(segment);
            controller.start(segments, target->layout(), ExportFormat::mp4, ExportQuality::original,
                             QUrl::fromLocalFile(path));
        });
        save->open();
    });
}

} // namespace vimbo::ui
