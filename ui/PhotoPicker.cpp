#include "ui/PhotoPicker.h"

#include "model/Project.h"
#include "ui/Icons.h"
#include "ui/PhotoGridDelegate.h"
#include "ui/PhotoGridModel.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QListView>
#include <QPointer>
#include <QPushButton>
#include <QSignalBlocker>
#include <QStackedWidget>
#include <QThreadPool>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace vimbo::ui {
namespace {

constexpr int margin = 12;
constexpr int noteIconSize = 64;
// Above the project's probing and import work in the shared pool: a person is waiting.
constexpr int listingPriority = 10;

// Hands `result` to `apply` on the interface thread, unless the picker has gone by then.
template <typename T, typename Apply>
void deliver(QPointer<PhotoPicker> picker, T result, Apply apply) {
    if (QCoreApplication* app = QCoreApplication::instance())
        QMetaObject::invokeMethod(app, [picker, result = std::move(result), apply]() mutable {
            if (picker)
                apply(*picker, std::move(result));
        });
}

bool isDevice(const PhotoLibrary::Place& place) {
    return QFileInfo(place.path).fileName() == QLatin1String("DCIM");
}

// The tiles' edges line up with the header and footer: the grid's content starts at the same
// margin, less the gap each tile keeps around itself.
class GridView : public QListView {
public:
    explicit GridView(QWidget* parent)
        : QListView(parent) {
        const int side = margin - PhotoGridDelegate::tileInset;
        setViewportMargins(side, 0, side, 0);
    }
};

// A phone shows each of its storages as a place of the same name; the storage tells them apart
// ("Pixel 7 · SD card").
QString placeTitle(const PhotoLibrary::Place& place,
                   const std::vector<PhotoLibrary::Place>& places) {
    const auto same = std::count_if(places.begin(), places.end(),
                                    [&](const auto& other) { return other.name == place.name; });
    if (same < 2)
        return place.name;
    const QString storage = QFileInfo(QFileInfo(place.path).path()).fileName();
    return place.name + QStringLiteral(" \u00B7 ") + storage;
}

QLabel* secondaryLabel(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

} // namespace

PhotoPicker::PhotoPicker(Project& project, QWidget* parent)
    : PhotoPicker(project, std::nullopt, parent) {}

PhotoPicker::PhotoPicker(Project& project, PhotoLibrary::Roots roots, QWidget* parent)
    : PhotoPicker(project, std::optional<PhotoLibrary::Roots>(std::move(roots)), parent) {}

PhotoPicker::PhotoPicker(Project& project, std::optional<PhotoLibrary::Roots> roots,
                         QWidget* parent)
    : QDialog(parent)
    , project_(project)
    , roots_(std::move(roots)) {
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Add from Photos"));
    setAccessibleName(tr("Add from Photos"));
    setSizeGripEnabled(true);
    setMinimumSize(540, 420);
    resize(820, 600);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    auto* header = new QHBoxLayout;
    header->setContentsMargins(margin, margin, margin, margin);
    places_ = new QComboBox(this);
    places_->setAccessibleName(tr("Place"));
    places_->setToolTip(tr("Where to look: your Pictures folder, or a connected camera or phone"));
    places_->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    places_->setMinimumWidth(180);
    connect(places_, &QComboBox::activated, this, &PhotoPicker::listPlace);
    header->addWidget(places_);
    header->addStretch();
    layout->addLayout(header);

    pages_ = new QStackedWidget(this);
    buildGrid();
    pages_->addWidget(grid_);
    pages_->addWidget(buildNote());
    layout->addWidget(pages_, 1);

    auto* footer = new QHBoxLayout;
    footer->setContentsMargins(margin, margin, margin, margin);
    status_ = secondaryLabel(QString(), this);
    status_->setAccessibleName(tr("Status"));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
    addButton_ = buttons->addButton(tr("Add"), QDialogButtonBox::AcceptRole);
    addButton_->setAccessibleName(tr("Add"));
    addButton_->setDefault(true);
    addButton_->setEnabled(false);
    buttons->button(QDialogButtonBox::Cancel)->setAccessibleName(tr("Cancel"));
    buttons->button(QDialogButtonBox::Cancel)->setIcon(QIcon()); // as bare as Add beside it
    connect(buttons, &QDialogButtonBox::accepted, this, &PhotoPicker::addPicked);
    connect(buttons, &QDialogButtonBox::rejected, this, &PhotoPicker::reject);
    footer->addWidget(status_);
    footer->addStretch();
    footer->addWidget(buttons);
    layout->addLayout(footer);

    findPlaces();
    // Mounting a device does not change the folder it is mounted in (only creating the mount
    // point does, and GVfs mounts phones elsewhere), so a file watcher would miss most
    // connections; a few stats every two seconds do not.
    auto* lookAgain = new QTimer(this);
    lookAgain->setInterval(2000);
    connect(lookAgain, &QTimer::timeout, this, [this] {
        if (lookingAgain_ || !listed_)
            return;
        lookingAgain_ = true;
        searchPlaces(&PhotoPicker::placesChanged);
    });
    lookAgain->start();
}

void PhotoPicker::buildGrid() {
    model_ = new PhotoGridModel(this);
    grid_ = new GridView(this);
    grid_->setAccessibleName(tr("Photos and videos"));
    grid_->setModel(model_);
    grid_->setItemDelegate(new PhotoGridDelegate(grid_));
    grid_->setViewMode(QListView::IconMode);
    grid_->setMovement(QListView::Static);
    grid_->setResizeMode(QListView::Adjust);
    grid_->setUniformItemSizes(true);
    grid_->setGridSize({PhotoGridDelegate::cellSize, PhotoGridDelegate::cellSize});
    grid_->setSpacing(0);
    grid_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    grid_->setSelectionRectVisible(true);
    grid_->setFrameShape(QFrame::NoFrame);
    // Thousands of items lay out in slices, so opening a full card never freezes the window.
    grid_->setLayoutMode(QListView::Batched);
    grid_->setBatchSize(400);
    grid_->setMouseTracking(true);
    grid_->viewport()->setAttribute(Qt::WA_Hover);
    grid_->setBackgroundRole(QPalette::Base);
    grid_->setAutoFillBackground(true);
    connect(grid_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &PhotoPicker::selectionChanged);
    // A new place's items clear the selection without a selectionChanged.
    connect(model_, &QAbstractItemModel::modelReset, this, &PhotoPicker::selectionChanged);
    // Double-click, not "activated": Return already reaches the default button.
    connect(grid_, &QListView::doubleClicked, this, &PhotoPicker::addPicked);
}

QWidget* PhotoPicker::buildNote() {
    auto* note = new QWidget(this);
    note->setBackgroundRole(QPalette::Base);
    note->setAutoFillBackground(true);
    auto* column = new QVBoxLayout(note);
    column->setSpacing(8);
    column->addStretch(3);

    auto* picture = new QLabel(note);
    const QColor faint = palette().color(QPalette::Disabled, QPalette::WindowText);
    picture->setPixmap(bundledIcon(Icon::photos, faint)
                           .pixmap(QSize(noteIconSize, noteIconSize), devicePixelRatioF()));
    picture->setAlignment(Qt::AlignCenter);
    column->addWidget(picture);

    noteTitle_ = new QLabel(note);
    QFont big = font();
    big.setPointSizeF(big.pointSizeF() * 1.35);
    big.setWeight(QFont::DemiBold);
    noteTitle_->setFont(big);
    noteTitle_->setAlignment(Qt::AlignCenter);
    column->addWidget(noteTitle_);

    noteText_ = secondaryLabel(QString(), note);
    noteText_->setWordWrap(true);
    noteText_->setAlignment(Qt::AlignCenter);
    // A fixed width lets the wrapped text take the height it needs.
    noteText_->setFixedWidth(400);
    column->addWidget(noteText_, 0, Qt::AlignHCenter);

    auto* choose = new QPushButton(tr("Choose Files…"), note);
    choose->setAccessibleName(tr("Choose Files…"));
    choose->setAutoDefault(false);
    connect(choose, &QPushButton::clicked, this, [this] {
        reject();
        emit chooseFilesInstead();
    });
    column->addSpacing(8);
    column->addWidget(choose, 0, Qt::AlignHCenter);
    column->addStretch(4);
    return note;
}

bool PhotoPicker::showsNote() const {
    return pages_->currentWidget() != grid_;
}

QString PhotoPicker::noteTitle() const {
    return noteTitle_->text();
}

QString PhotoPicker::noteText() const {
    return noteText_->text();
}

void PhotoPicker::findPlaces() {
    listed_ = false;
    status_->setText(tr("Loading…"));
    searchPlaces(&PhotoPicker::placesFound);
}

void PhotoPicker::searchPlaces(PlacesHandler then) {
    QThreadPool::globalInstance()->start(
        [self = QPointer<PhotoPicker>(this), roots = roots_, then] {
            deliver(self, PhotoLibrary::places(roots ? *roots : PhotoLibrary::Roots::standard()),
                    [then](PhotoPicker& picker, std::vector<PhotoLibrary::Place> found) {
                        (picker.*then)(found);
                    });
        },
        listingPriority);
}

void PhotoPicker::placesFound(const std::vector<PhotoLibrary::Place>& places) {
    placeList_ = places;
    places_->clear();
    for (const PhotoLibrary::Place& place : places)
        places_->addItem(placeTitle(place, places));
    places_->setEnabled(!places.empty());
    if (places.empty()) {
        status_->clear();
        showNote(tr("No Photos or Videos Here"),
                 tr("There is no Pictures folder, and no camera or phone is connected. Connect "
                    "one to pick from it, or choose files from anywhere."));
        listed_ = true;
        emit listed();
        return;
    }
    places_->setCurrentIndex(0);
    listPlace(0);
}

// A device came or went: the list follows, and what is shown stays unless its place is gone.
void PhotoPicker::placesChanged(const std::vector<PhotoLibrary::Place>& places) {
    lookingAgain_ = false;
    if (places == placeList_ || !listed_)
        return;
    const int current = places_->currentIndex();
    const QString shown =
        current >= 0 ? placeList_[static_cast<std::size_t>(current)].path : QString();
    const auto kept = std::find_if(places.begin(), places.end(),
                                   [&](const PhotoLibrary::Place& p) { return p.path == shown; });
    if (shown.isEmpty() || kept == places.end()) {
        placesFound(places);
        return;
    }
    placeList_ = places;
    const QSignalBlocker quiet(places_);
    places_->clear();
    for (const PhotoLibrary::Place& place : places)
        places_->addItem(placeTitle(place, places));
    places_->setEnabled(true);
    places_->setCurrentIndex(static_cast<int>(kept - places.begin()));
}

void PhotoPicker::listPlace(int index) {
    if (index < 0 || index >= static_cast<int>(placeList_.size()))
        return;
    const int request = ++listRequest_;
    listed_ = false;
    model_->setItems({});
    pages_->setCurrentWidget(grid_);
    status_->setText(tr("Loading…"));
    const QString path = placeList_[static_cast<std::size_t>(index)].path;
    QThreadPool::globalInstance()->start(
        [self = QPointer<PhotoPicker>(this), path, request] {
            struct Listing {
                std::vector<PhotoLibrary::Item> items;
                bool exists;
            };
            const bool exists = QFileInfo(path).isDir();
            Listing listing{exists ? PhotoLibrary::items(path) : std::vector<PhotoLibrary::Item>{},
                            exists};
            deliver(self, std::move(listing), [request](PhotoPicker& picker, Listing result) {
                picker.placeListed(request, std::move(result.items), result.exists);
            });
        },
        listingPriority);
}

void PhotoPicker::placeListed(int request, std::vector<PhotoLibrary::Item> items, bool exists) {
    if (request != listRequest_)
        return; // a later choice of place has overtaken this listing
    const PhotoLibrary::Place& place =
        placeList_[static_cast<std::size_t>(places_->currentIndex())];
    listed_ = true;
    if (!exists)
        showNote(tr("%1 Is Not Connected").arg(place.name),
                 tr("Connect it again to pick from it, or choose files from anywhere."));
    else if (items.empty() && isDevice(place))
        showNote(tr("No Photos or Videos Here"),
                 tr("%1 has no photos or videos in its DCIM folder. You can choose files from "
                    "anywhere instead.")
                     .arg(place.name));
    else if (items.empty())
        showNote(tr("No Photos or Videos Here"),
                 tr("Photos and videos in your Pictures folder appear here. Connect a camera or "
                    "phone to pick from it, or choose files from anywhere."));
    else {
        model_->setItems(std::move(items));
        grid_->setFocus(); // arrow keys, Ctrl+A and Return work at once
    }
    selectionChanged();
    emit listed();
}

void PhotoPicker::showNote(const QString& title, const QString& text) {
    noteTitle_->setText(title);
    noteText_->setText(text);
    pages_->setCurrentIndex(1);
}

void PhotoPicker::selectionChanged() {
    const auto count = static_cast<int>(grid_->selectionModel()->selectedIndexes().size());
    addButton_->setEnabled(count > 0);
    if (!listed_)
        return; // still saying "Loading…"
    if (count > 0)
        status_->setText(tr("%n Selected", nullptr, count));
    else if (model_->rowCount() > 0)
        status_->setText(tr("Click to pick; Ctrl-click or drag for several"));
    else
        status_->clear();
}

void PhotoPicker::addPicked() {
    QModelIndexList rows = grid_->selectionModel()->selectedIndexes();
    if (rows.isEmpty())
        return;
    std::vector<PhotoLibrary::Item> picked;
    for (const QModelIndex& row : rows)
        picked.push_back(model_->items()[static_cast<std::size_t>(row.row())]);
    // Oldest first: the movie tells the day in the order it happened, however the items were
    // picked. The grid shows newest first only to put recent shots within reach.
    std::stable_sort(picked.begin(), picked.end(), [](const auto& a, const auto& b) {
        return a.modified != b.modified ? a.modified < b.modified
                                        : a.url.fileName() < b.url.fileName();
    });
    QList<QUrl> urls;
    for (const PhotoLibrary::Item& item : picked)
        urls.append(item.url);
    project_.importFromPhotos(urls);
    accept();
}

void PhotoPicker::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    model_->setThumbnailPixels(
        static_cast<int>(std::lround(PhotoGridDelegate::tileSize * devicePixelRatioF())));
}

} // namespace vimbo::ui
