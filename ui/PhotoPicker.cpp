// Stand-in until the real view lands.
#include "ui/PhotoPicker.h"

#include "model/Project.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPointer>
#include <QVBoxLayout>

namespace vimbo::ui {

PhotoPicker::PhotoPicker(Project& project, QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(tr("Add from Photos"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("Photo picker"), this));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    QPointer<Project> target(&project);
    connect(this, &QDialog::finished, this, [target] {
        if (target)
            target->setShowPhotosPicker(false);
    });
}

} // namespace vimbo::ui
