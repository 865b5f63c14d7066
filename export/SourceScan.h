#pragma once

// Opening a clip's file for copying, and reading its packet table: timestamps, durations and
// key-frame flags of the first video and first audio stream, without decoding anything.
// Every call runs on the export's thread and gives up when the export is cancelled.

#include "export/CopyPlan.h"
#include "media/ff/Cancel.h"
#include "media/ff/Parameters.h"
#include "media/ff/Ptr.h"

#include <QByteArray>
#include <QString>

namespace vimbo {

// A clip's file opened for reading packets.
struct SourceFile {
    ff::InputPtr context;
    int video = -1;
    int audio = -1; // -1 when the file has no sound
};

// Throws Cancelled, or the reading failure (a file that is gone or unreadable).
SourceFile openSource(const QString& path, const CancelFlag& cancel);

// What the output's streams copy from a source stream.
struct StreamFormat {
    ff::ParametersPtr parameters;
    QByteArray displayMatrix; // nine 32-bit numbers, or empty
};

struct SourceScan {
    CopyClip clip; // its trims still to be filled in by the caller
    StreamFormat video;
    StreamFormat audio; // parameters null when there is no sound
};

// Reads the whole packet table of the file's first video and first audio stream. With
// `withAudio` false the sound is left out as if the file had none.
SourceScan scanSource(const QString& path, bool withAudio, const CancelFlag& cancel);

} // namespace vimbo
