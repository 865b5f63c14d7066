#include "tests/support/Media.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtEndian>

#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace vimbo::test {

QString sampleFolder() {
    static const QString folder = [] {
        const QString configured = qEnvironmentVariable("VIMBO_SAMPLE_MEDIA", VIMBO_SAMPLE_MEDIA);
        return QFileInfo(configured + QStringLiteral("/MANIFEST.tsv")).exists() ? configured
                                                                                : QString();
    }();
    return folder;
}

QString sample(const QString& name) {
    return sampleFolder() + QLatin1Char('/') + name;
}

bool run(const QString& program, const QStringList& arguments, QString* output) {
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    const bool finished = process.waitForFinished(300'000);
    const QString text = QString::fromUtf8(process.readAll());
    if (output)
        *output = text;
    const bool ok =
        finished && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    EXPECT_TRUE(ok) << program.toStdString() << " " << arguments.join(' ').toStdString() << "\n"
                    << text.toStdString();
    return ok;
}

QString generated(const QString& name, const QStringList& ffmpegArgs) {
    const QString folder = QStringLiteral(VIMBO_FIXTURE_DIR);
    QDir().mkpath(folder);
    const QString path = folder + QLatin1Char('/') + name;
    // Tests run in parallel processes; the lock makes one of them generate while others wait.
    QLockFile lock(path + QStringLiteral(".lock"));
    lock.setStaleLockTime(0);
    lock.lock();
    if (!QFileInfo::exists(path)) {
        const QString partial = folder + QStringLiteral("/partial-") + name;
        QStringList args{QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y")};
        args << ffmpegArgs << partial;
        if (run(QStringLiteral("ffmpeg"), args))
            QFile::rename(partial, path);
    }
    return path;
}

const QString quadrantsFilter =
    QStringLiteral("geq=r='if(lt(Y,H/2),if(lt(X,W/2),255,0),if(lt(X,W/2),0,255))'"
                   ":g='if(lt(Y,H/2),if(lt(X,W/2),0,255),if(lt(X,W/2),0,255))'"
                   ":b='if(lt(Y,H/2),0,255)'");

QString quadrantsPhoto() {
    return generated(QStringLiteral("quadrants-400x200.jpg"),
                     {"-f", "lavfi", "-i", "color=black:size=400x200", "-vf", quadrantsFilter,
                      "-frames:v", "1", "-q:v", "2"});
}

QString withMatrix(const QString& source, const QString& name, const std::array<double, 6>& m) {
    QFile in(source);
    EXPECT_TRUE(in.open(QIODevice::ReadOnly));
    QByteArray bytes = in.readAll();
    const qsizetype box = bytes.indexOf("tkhd");
    EXPECT_GT(box, 0);
    // After the version: three 32-bit times and ids (64-bit in version 1), then 16 bytes.
    const qsizetype matrix = box + 8 + (bytes[box + 4] == 1 ? 32 : 20) + 16;
    const std::array<qint32, 9> values{qint32(m[0] * 65536), qint32(m[1] * 65536), 0,
                                       qint32(m[2] * 65536), qint32(m[3] * 65536), 0,
                                       qint32(m[4] * 65536), qint32(m[5] * 65536), 1 << 30};
    for (std::size_t i = 0; i < values.size(); ++i)
        qToBigEndian(values[i], bytes.data() + matrix + 4 * i);
    const QString path = scratchFolder() + QLatin1Char('/') + name;
    QFile out(path);
    EXPECT_TRUE(out.open(QIODevice::WriteOnly));
    out.write(bytes);
    return path;
}

QString scratchFolder() {
    static std::vector<std::unique_ptr<QTemporaryDir>> folders;
    folders.push_back(std::make_unique<QTemporaryDir>());
    return folders.back()->path();
}

} // namespace vimbo::test
