#pragma once

// The places where a Linux user's photos live, for Vimbo's own photo picker: the Pictures
// folder and any mounted camera or phone storage with a DCIM folder.

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <vector>

namespace vimbo::PhotoLibrary {

struct Place {
    QString name; // shown in the picker: "Pictures", or the volume's name
    QString path; // the folder to list: the Pictures folder, or the volume's DCIM folder
    friend bool operator==(const Place&, const Place&) = default;
};

// Where to look for places. standard() reads XDG_PICTURES_DIR (through Qt), $USER and
// XDG_RUNTIME_DIR; tests point it at their own folders.
struct Roots {
    QString pictures;
    QStringList mountParents; // folders whose children are mounted volumes
    static Roots standard();
};

// The Pictures folder (when it exists) first, then every mounted volume that has a DCIM
// folder, sorted by name.
std::vector<Place> places(const Roots& roots = Roots::standard());

struct Item {
    QUrl url;
    QDateTime modified;
};

// The photos and videos under a place, newest first (by modification time, which cameras set
// to the moment of capture). Files Vimbo refuses are left out: the picker offers only what
// can be used.
std::vector<Item> items(const QString& placePath);

} // namespace vimbo::PhotoLibrary
