#pragma once

// Media and measurements shared by the export tests: generated clips with a flash and a beep
// at a known instant, real probing, running an Exporter to its outcome, and reading back what
// a movie holds (its packets, its display matrix, where flashes and beeps fall).

#include "export/Exporter.h"
#include "model/Segment.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

namespace vimbo::test {

struct ClipSpec {
    double seconds = 2;
    double flashAt = 1.2; // a white frame and, with sound, a 1 kHz beep of 0.1 s here
    bool withSound = true;
    int rate = 48000;
    int size = 320; // width; height is 3/4 of it
    // Stored as phones store it: HEVC in a 1/600 time base without an edit list, so the first
    // frame (behind two B-frames) shows at 1/15 s, where the sound's first sample is at 0.
    bool phone = false;
    bool h264 = false;   // a phone's clip coded in H.264 instead
    bool moving = false; // a picture that changes in every frame, under the flash
};
// An H.264 (key frames every 0.5 s, B-frames) + AAC movie made once per build; HEVC for a
// phone's clip. Flash and beep are at `flashAt` from the first frame.
QString flashClip(const ClipSpec& spec = {});

// The segment the project would make of the file (real probe).
Segment probed(const QString& path, const ClipEdits& edits = {});

struct Outcome {
    enum class Kind { done, cancelled, failed } kind = Kind::failed;
    QString message;
    std::vector<double> progress; // every report, in order
};
// Runs export_ on the calling thread; `onProgress` sees each report first.
Outcome runExport(Exporter& exporter, const QString& to,
                  const std::function<void(double)>& onProgress = {});

// A file holding `bytes`, standing for a movie a person keeps; its bytes as they are now.
QString keptFile(const QString& path, const QByteArray& bytes = "an older movie");
QByteArray contents(const QString& path);
// The temporary files of unfinished movies in `folder` (".NAME.vimbo-XXXXXX.part").
QStringList leftovers(const QString& folder);

// What `ffmpeg -v error -i FILE -f null -` prints: empty for a clean file.
QString decodeErrors(const QString& path);

// Seconds the file's longest stream lasts, as a player reads it.
double movieDuration(const QString& path);
// The video's stored width and height, as "1920,1080".
QString videoSize(const QString& path);

// Whether the movie holds exactly the source packets a copy of the segments would: those shown
// within each clip's trimmed range.
bool copiedPackets(const QString& movie, const std::vector<Segment>& segments);

// Whether the movie's index comes before its media ("optimised for network use").
bool indexFirst(const QString& path);

// The video stream's display matrix (nine numbers), or empty.
QByteArray displayMatrix(const QString& path);

// Instants of white flashes and of beep onsets in the decoded movie, and where its picture
// and sound end.
struct Marks {
    std::vector<double> flashes;
    std::vector<double> beeps;
    double videoEnd = 0;
    double audioEnd = 0;
};
Marks marks(const QString& path);

// The decoded pictures' luma, in presentation order.
struct Picture {
    double time = 0;
    std::vector<std::uint8_t> luma;
};
std::vector<Picture> pictures(const QString& path);

// The video packets of a file, in decoding order.
std::vector<QByteArray> videoPacketData(const QString& path);

// The decoded sound's first channel, sample by sample from the movie's start.
std::vector<float> sound(const QString& path);

} // namespace vimbo::test
