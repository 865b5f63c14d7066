#pragma once

// "Add from Photos…": a picker over the places where a person's photos live on Linux: the
// Pictures folder and every mounted camera or phone with a DCIM folder. It shows a place's
// photos and videos as a grid of thumbnails, newest first, and takes any number of them (click,
// Ctrl and Shift clicks, a rubber band, Ctrl+A). "Add" hands the picked items, oldest first, to
// Project::importFromPhotos, which copies them into the import store before adding them (a
// camera may be unplugged at any moment). A place with nothing in it, or no place at all, shows
// a friendly note with a way on instead of an empty grid.
//
// Interface thread only. Finding places, listing a place and making thumbnails run in the
// background; results arrive as queued calls. The dialog deletes itself when it closes
// (Qt::WA_DeleteOnClose). The project must outlive it. While it is open it looks for places again
// every two seconds, so a camera or phone connected meanwhile appears in the place list.

#include "media/PhotoLibrary.h"

#include <QDialog>

#include <optional>

class QComboBox;
class QLabel;
class QListView;
class QPushButton;
class QStackedWidget;

namespace vimbo {

class Project;

namespace ui {

class PhotoGridModel;

class PhotoPicker : public QDialog {
    Q_OBJECT
public:
    // Looks in the standard places (XDG Pictures folder, /media/$USER, /run/media/$USER, GVfs).
    PhotoPicker(Project& project, QWidget* parent = nullptr);
    // Looks under the given roots instead (tests, screenshots).
    PhotoPicker(Project& project, PhotoLibrary::Roots roots, QWidget* parent = nullptr);

    // What a person sees, for the window and for tests.
    QComboBox* placeBox() const { return places_; }
    QListView* grid() const { return grid_; }
    QPushButton* addButton() const { return addButton_; }
    // True while the friendly note stands in for the grid.
    bool showsNote() const;
    QString noteTitle() const;
    QString noteText() const;
    // True once the places have been found and the chosen one listed.
    bool isListed() const { return listed_; }

    // Adds the picked items and closes; does nothing while nothing is picked.
    void addPicked();

signals:
    // The current place's items have been listed (or found to be missing).
    void listed();
    // The person closed the picker to choose files with the Add… dialog instead.
    void chooseFilesInstead();

private:
    PhotoPicker(Project& project, std::optional<PhotoLibrary::Roots> roots, QWidget* parent);
    void buildGrid();
    QWidget* buildNote();
    using PlacesHandler = void (PhotoPicker::*)(const std::vector<PhotoLibrary::Place>&);
    void findPlaces();
    // Finds the places on a pool thread and hands them to `then` on this one.
    void searchPlaces(PlacesHandler then);
    void placesFound(const std::vector<PhotoLibrary::Place>& places);
    void placesChanged(const std::vector<PhotoLibrary::Place>& places);
    void listPlace(int index);
    void placeListed(int request, std::vector<PhotoLibrary::Item> items, bool exists);
    void showNote(const QString& title, const QString& text);
    void selectionChanged();
    void showEvent(QShowEvent* event) override;

    Project& project_;
    std::optional<PhotoLibrary::Roots> roots_; // absent: the standard ones
    std::vector<PhotoLibrary::Place> placeList_;
    int listRequest_ = 0;
    bool listed_ = false;
    bool lookingAgain_ = false; // a search for newly connected devices is under way

    QComboBox* places_ = nullptr;
    QStackedWidget* pages_ = nullptr;
    QListView* grid_ = nullptr;
    PhotoGridModel* model_ = nullptr;
    QLabel* noteTitle_ = nullptr;
    QLabel* noteText_ = nullptr;
    QLabel* status_ = nullptr; // loading, a hint, or how many are picked
    QPushButton* addButton_ = nullptr;
};

} // namespace ui
} // namespace vimbo
