#pragma once

// Running the command-line tools the benchmarks compare with, and that make their media.

#include <QFile>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace vimbo::bench {

// Runs a program to its end with its output discarded; true when it exits 0.
inline bool succeeded(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(program, arguments);
    return process.waitForFinished(-1) && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

// Writes the list the ffmpeg concat demuxer joins (`-f concat -safe 0 -i LIST`); returns LIST.
inline QString concatList(const QStringList& files, const QString& list) {
    QFile file(list);
    file.open(QIODevice::WriteOnly);
    for (const QString& f : files)
        file.write("file '" + f.toUtf8() + "'\n");
    return list;
}

} // namespace vimbo::bench
