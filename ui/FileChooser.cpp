#include "ui/FileChooser.h"

#include "media/MediaProbe.h"
#include "ui/FileIntake.h"

#include <QAbstractItemView>
#include <QDir>
#include <QFileDialog>
#include <QFileSystemModel>
#include <QSortFilterProxyModel>
#include <QStandardPaths>

namespace vimbo::ui {
namespace {

// Folders, and the files Vimbo takes in; documents and the like stay out of the way.
class MediaOnly : public QSortFilterProxyModel {
public:
    using QSortFilterProxyModel::QSortFilterProxyModel;

protected:
    bool filterAcceptsRow(int row, const QModelIndex& parent) const override {
        const auto* files = qobject_cast<const QFileSystemModel*>(sourceModel());
        if (!files)
            return true;
        const QModelIndex index = files->index(row, 0, parent);
        return files->isDir(index) ||
               MediaProbe::isMedia(QUrl::fromLocalFile(files->filePath(index)));
    }
};

// Where a person keeps what they want to join: their Pictures, else Videos, else home.
QString startFolder() {
    for (const auto location : {QStandardPaths::PicturesLocation, QStandardPaths::MoviesLocation}) {
        const QString folder = QStandardPaths::writableLocation(location);
        if (!folder.isEmpty() && QDir(folder).exists() && folder != QDir::homePath())
            return folder;
    }
    return QDir::homePath();
}

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
        setLabelText(QFileDialog::FileName, tr("Name:"));
        setLabelText(QFileDialog::FileType, tr("Show:"));
        setNameFilter(tr("Photos, videos and folders (*)"));
        setProxyModel(new MediaOnly(this));
        setDirectory(startFolder());
        resize(820, 520);
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

void chooseFiles(FileIntake& intake, QWidget* parent) {
    auto* dialog = new FilesAndFoldersDialog(parent); // deletes itself on close
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(dialog, &QFileDialog::accepted, &intake,
                     [dialog, &intake] { intake.add(dialog->selectedUrls()); });
    dialog->open();
}

} // namespace vimbo::ui
