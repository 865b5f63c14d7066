#include "tests/ui/ViewFixture.h"

#include "media/MediaProbe.h"
#include "media/Thumbnail.h"
#include "model/SessionStore.h"
#include "tests/support/Media.h"
#include "tests/support/Program.h"
#include "ui/Translations.h"

#include <QDir>
#include <QFile>
#include <QLocale>

namespace vimbo::test {
namespace {

QString copied(const QString& from, const QString& folder, const QString& name) {
    QDir().mkpath(folder);
    const QString to = folder + QLatin1Char('/') + name;
    QFile::remove(to);
    QFile::copy(from, to);
    return to;
}

} // namespace

MediaAccess viewMedia() {
    return {&MediaProbe::isMedia, &MediaProbe::probe,
            [](const QUrl& url, MediaKind kind, int pixels) {
                return Thumbnail::make(url, kind, pixels);
            }};
}

void useEnglish() {
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    static const bool installed = (ui::installTranslations(), true);
    (void)installed;
}

QString movie(const QString& folder, const QString& name, double seconds, bool withSound) {
    const QString key = QStringLiteral("view-movie-%1-%2.mp4").arg(seconds).arg(withSound);
    const QString sound = QStringLiteral(" -f lavfi -i sine=f=440:d=%1 -c:a aac").arg(seconds);
    const QString args = QStringLiteral("-f lavfi -i testsrc2=s=320x180:r=30:d=%1%2 -c:v libx264 "
                                        "-preset ultrafast -g 30 -pix_fmt yuv420p")
                             .arg(seconds)
                             .arg(withSound ? sound : QString());
    return copied(generated(key, args.split(u' ')), folder, name);
}

QString picture(const QString& folder, const QString& name) {
    const QString made =
        generated(QStringLiteral("view-picture.jpg"),
                  QStringLiteral("-f lavfi -i testsrc=s=400x300 -frames:v 1").split(u' '));
    return copied(made, folder, name);
}

Views::Views()
    : root_(scratchFolder())
    , files_(root_ + QStringLiteral("/files")) {
    open({});
}

void Views::open(const std::vector<ClipSpec>& clips) {
    Saved saved;
    for (const ClipSpec& spec : clips) {
        Clip clip;
        clip.id = QUuid::createUuid();
        clip.url = QUrl::fromLocalFile(spec.path);
        clip.edits = spec.edits;
        clip.added = saved.nextAdded++;
        saved.clips.push_back(clip);
    }
    const SessionStore store(root_ + QStringLiteral("/Vimbo"));
    store.save(saved);
    project_.reset();
    undo_ = std::make_unique<QUndoStack>();
    project_ = std::make_unique<Project>(viewMedia(), store);
    project_->observeUndo(undo_.get());
}

bool Views::read() {
    return waitUntil([this] {
        for (const Clip& clip : project_->clips()) {
            const auto info = project_->info().constFind(clip.id);
            if (info == project_->info().constEnd())
                return false;
            if (info->isUsable() && !project_->thumbnails().contains(clip.id))
                return false;
        }
        return true;
    });
}

QUuid Views::id(const QString& fileName) const {
    for (const Clip& clip : project_->clips())
        if (clip.url.fileName() == fileName)
            return clip.id;
    return {};
}

std::vector<QString> Views::order() const {
    std::vector<QString> names;
    for (const Clip& clip : project_->clips())
        names.push_back(clip.url.fileName());
    return names;
}

} // namespace vimbo::test
