#include "ui/FileChooser.h"

#include "model/Project.h"

#include <QAbstractItemView>
#include <QFileDialog>
#include <QPointer>
#include <QStandardPaths>

namespace vimbo::ui {
namespace {

// Qt's own dialog in folder mode, showing files too and taking several of either: a person
// adds a holiday folder and two loose videos in one go. (No desktop's native dialog picks
// files and folders together.)
class FilesAndFoldersDialog : public QFileDialog {
public:
    explicit FilesAndFoldersDialog(QWidget* parent)
        : QFileDialog(parent) {
        setWindowTitle(tr("Add Photos and Videos"));
        setOption(QFileDialog::DontUseNativeDialog);
        setFileMode(QFileDialog::Directory);
        setOption(QFileDialog::ShowDirsOnly, false);
        setAcceptMode(QFileDialog::AcceptOpen);
        setLabelText(QFileDialog::Accept, tr("Add"));
        const QStringList pictures =
            QStandardPaths::standardLocations(QStandardPaths::PicturesLocation);
        if (!pictures.isEmpty())
            setDirectory(pictures.first());
        for (QAbstractItemView* view : findChildren<QAbstractItemView*>())
            view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    }

    // Folder mode would accept only a folder; take whatever is selected.
    void accept() override {
        if (selectedFiles().isEmpty())
            return;
        QDialog::accept();
    }
};

} // namespace

void chooseFiles(Project& project, QWidget* parent) {
    auto* dialog = new FilesAndFoldersDialog(parent); // deletes itself on close
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    QPointer<Project> target(&project);
    QObject::connect(dialog, &QFileDialog::accepted, dialog, [dialog, target] {
        if (target)
            target->add(dialog->selectedUrls());
    });
    dialog->open();
}

} // namespace vimbo::ui
