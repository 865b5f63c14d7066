#pragma once

#include "model/Clip.h"
#include "model/Layout.h"
#include "model/MediaAccess.h"
#include "model/Segment.h"
#include "model/SessionStore.h"
#include "model/SessionWriter.h"
#include "model/Snapshot.h"
#include "model/UndoHistory.h"

#include <QHash>
#include <QImage>
#include <QObject>
#include <QSet>
#include <QThreadPool>
#include <QTimer>
#include <QUrl>
#include <QUuid>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

class QUndoStack;

namespace vimbo {

enum class SortOrder { orderAdded, dateTaken, fileName };

// The one document: the clips in playing order with their edits, the output layout, what was
// probed from each clip's file, its thumbnail, and the selection. Lives on the interface thread
// and is used only there; probing and thumbnails run on worker threads and land back here.
// Every change of clips or layout schedules an autosave; every named change is one undo step.
// Views learn of changes through the *Changed signals and re-read the fields.
class Project : public QObject {
    Q_OBJECT
public:
    // The size of filmstrip thumbnails, in pixels on the long side.
    static constexpr int thumbnailPixels = 320;

    // Restores the saved project from `store` and starts reading its clips. Clips whose files
    // moved are found again in the background and then change their place (clipsChanged).
    // Without a store the project is a scratch one (the command line's merge): nothing is read
    // or saved.
    explicit Project(MediaAccess media, std::optional<SessionStore> store = SessionStore(),
                     QObject* parent = nullptr);
    ~Project() override;

    // Observed state.
    const std::vector<Clip>& clips() const { return clips_; }
    const Layout& layout() const { return layout_; }
    const QHash<QUuid, MediaInfo>& info() const { return info_; }
    const QHash<QUuid, QImage>& thumbnails() const { return thumbnails_; }
    const QSet<QUuid>& selection() const { return selection_; }
    bool canUndo() const { return canUndo_; }
    bool canRedo() const { return canRedo_; }
    std::int64_t nextAdded() const { return nextAdded_; }
    const std::optional<SessionStore>& store() const { return store_; }

    // The clip list.
    void add(const QList<QUrl>& urls);
    void addImported(const QList<QUrl>& urls);
    // The media files a list of dropped or opened files and folders stands for: folders are
    // searched recursively (hidden entries skipped) and their files sorted naturally by path.
    static QList<QUrl> expand(const QList<QUrl>& urls,
                              const std::function<bool(const QUrl&)>& isMedia);
    void remove(const QSet<QUuid>& ids);
    void startOver();
    void move(const QUuid& moved, const QUuid& before);
    // Copies picked photos and videos into the import store on a worker thread, one after
    // another, then adds the copies that succeeded, in order, as one step. A scratch project
    // has no import store and takes nothing.
    void importFromPhotos(const QList<QUrl>& picked);

    // Selection. Ctrl toggles one clip, Shift extends from the anchor.
    void click(const QUuid& id, Qt::KeyboardModifiers modifiers);
    void selectAll();
    // Escape, or a click beside the tiles: nothing selected (the anchor stays).
    void clearSelection();
    std::vector<Clip> selectedClips() const;

    // Edits each given clip (the selection when absent) that has been probed. With a name the
    // change is one undo step; without, the caller is in a gesture and names it at its end.
    using EditChange = std::function<void(ClipEdits&, const MediaInfo&)>;
    void edit(const char* name, std::optional<QSet<QUuid>> ids, const EditChange& change);
    void rotateSelection(int by);
    void sort(SortOrder order);
    // Shape and fill pickers: one named step each.
    void setLayout(const Layout& layout, const char* name);

    // The clips that take part in the movie: probed as video or photo, in order.
    std::vector<std::pair<QUuid, Segment>> usable() const;
    double duration() const;
    // The clip's tile picture, turned by its quarter turns (turned pictures are cached).
    std::optional<QImage> thumbnail(const Clip& clip);

    // Undo.
    Snapshot snapshot() const { return {clips_, layout_}; }
    void registerUndo(const Snapshot& from, const char* name);
    void apply(const Snapshot& snapshot);
    void beginGesture();
    // Ends a gesture: one step from its start, if anything changed.
    void endGesture(const char* name);
    // The window hands over its undo stack (held weakly), and again whenever it replaces it;
    // steps registered with an earlier stack stay there.
    void observeUndo(QUndoStack* undoManager);
    QUndoStack* undoManager() const { return history_.stack(); }

    // Persistence. save() hands a copy of the project to the writer thread, which encodes and
    // writes it; saveNow() also waits for the file to be on disk (at quit). Destroying the
    // project waits for the last write.
    void scheduleSave();
    // How long the autosave waits after the last change; tests shorten it.
    void setAutosaveDelay(std::chrono::milliseconds delay) { saveTimer_.setInterval(delay); }
    void save();
    void saveNow();
    void read(const std::vector<Clip>& clips);
    // Whether probes are still under way, or restored clips' moved files still looked for.
    bool isReading() const { return locating_ || pendingReads_ > 0; }

signals:
    void clipsChanged();
    void layoutChanged();
    void infoChanged();
    void thumbnailsChanged();
    void selectionChanged();
    void canUndoChanged();
    void canRedoChanged();
    // isReading() has become false: every clip's facts are in.
    void allRead();

private:
    void restore();
    // Follows the restored clips' bookmarks on a worker thread, then updates the clips whose
    // files moved (and probes them again) or whose bookmarks were renewed.
    void locate();
    void foundAgain(const std::vector<Clip>& found);
    // Puts the places found since the start into these clips.
    void followMoves(std::vector<Clip>& clips) const;
    void readingProgressed();
    void setClips(std::vector<Clip> clips);
    void assignLayout(const Layout& layout);
    void setSelection(QSet<QUuid> selection);
    void appendClips(std::vector<Clip> fresh);
    Clip newClip(const QUrl& url);
    void refreshUndo();
    void storeInfo(const QUuid& id, const MediaInfo& info);
    void storeThumbnail(const QUuid& id, const QImage& image);

    MediaAccess media_;
    std::optional<SessionStore> store_;
    std::unique_ptr<SessionWriter> writer_; // present with a store
    UndoHistory history_;
    QTimer saveTimer_;
    // Reading clips and copying imports. Not Qt's global pool: Qt draws and scales pictures
    // on that one, and hundreds of queued probes would make the window wait behind them.
    QThreadPool workers_;

    std::vector<Clip> clips_;
    Layout layout_;
    QHash<QUuid, MediaInfo> info_;
    QHash<QUuid, QImage> thumbnails_;
    QHash<QString, QImage> turnedThumbnails_;
    QSet<QUuid> selection_;
    bool canUndo_ = false;
    bool canRedo_ = false;
    std::int64_t nextAdded_ = 0;
    std::optional<QUuid> anchor_;
    std::optional<Snapshot> gestureStart_;
    bool restoring_ = false;
    // Where restored clips' files were found again, with their renewed bookmarks.
    QHash<QUuid, std::pair<QUrl, std::optional<QByteArray>>> foundAgain_;
    QHash<QUuid, std::uint64_t> reads_; // the newest read of each clip
    int pendingReads_ = 0;
    bool locating_ = false;
};

} // namespace vimbo
