#include "media/MediaProbe.h"
#include "tests/support/Media.h"

#include <QFile>
#include <QMimeDatabase>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace vimbo {
namespace {

TEST(MediaProbe, KindFollowsReadabilityThenTypeThenRefusalAndPipesAreNeverOpened) {
    const QString movie = test::generated(
        QStringLiteral("classify.mp4"),
        {"-f", "lavfi", "-i", "testsrc=size=160x120:rate=10:duration=0.5", "-c:v", "libx264"});
    const QString jpeg =
        test::generated(QStringLiteral("classify.jpg"),
                        {"-f", "lavfi", "-i", "testsrc=size=160x120", "-frames:v", "1"});
    const QString folder = test::scratchFolder();
    struct Case {
        const char* name;
        QString content; // copied into a file of that name; empty: the file does not exist
        MediaKind kind;
    };
    const Case cases[] = {
        {"clip.MKV", movie, MediaKind::unsupported},  // refused without being opened
        {"movie.txt", movie, MediaKind::video},       // a type that is no media still gets tried
        {"noextension", movie, MediaKind::video},     // so does a name without a type
        {"photo.jpg", movie, MediaKind::unsupported}, // a failed photo is not retried as movie
        {"still.mov", jpeg, MediaKind::unsupported},  // a movie type holding a JPEG
        {"raw.dng", movie, MediaKind::unsupported},   // nor is a camera RAW LibRaw cannot read
        {"misnamed.PNG", jpeg, MediaKind::photo},     // image readers go by content
        {"gone.mkv", {}, MediaKind::missing},         // unreadable before anything else
        {"gone.jpg", {}, MediaKind::missing},
    };
    for (const Case& c : cases) {
        const QString path = folder + QLatin1Char('/') + QLatin1String(c.name);
        if (!c.content.isEmpty()) {
            ASSERT_TRUE(QFile::copy(c.content, path));
        }
        const MediaInfo info = MediaProbe::probe(QUrl::fromLocalFile(path));
        EXPECT_EQ(info.kind, c.kind) << c.name;
        if (!info.isUsable()) {
            EXPECT_EQ(info, MediaInfo(c.kind)) << c.name << ": facts must be empty";
        }
    }
    // Readable, but opening one blocks until someone writes to it: the probe would hang.
    for (const char* name : {"pipe.mp4", "pipe.jpg", "pipe"}) {
        const QString path = folder + QLatin1Char('/') + QLatin1String(name);
        ASSERT_EQ(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        EXPECT_EQ(MediaProbe::probe(QUrl::fromLocalFile(path)), MediaInfo(MediaKind::unsupported));
    }
}

// "Open With Vimbo" is offered for a type only when its files are taken in, by every name.
TEST(MediaProbe, TheDesktopEntryOffersOnlyTypesThatAreTakenIn) {
    QFile entry(QStringLiteral(VIMBO_DESKTOP_ENTRY));
    ASSERT_TRUE(entry.open(QIODevice::ReadOnly | QIODevice::Text));
    const QString text = QString::fromUtf8(entry.readAll());
    const QString line = text.mid(text.indexOf("\nMimeType=") + 10).section(u'\n', 0, 0);
    for (const QString& name : line.split(u';', Qt::SkipEmptyParts)) {
        const QMimeType type = QMimeDatabase().mimeTypeForName(name);
        EXPECT_TRUE(type.isValid()) << qPrintable(name);
        for (const QString& suffix : type.suffixes())
            EXPECT_TRUE(MediaProbe::isMedia(QUrl::fromLocalFile("a." + suffix)) &&
                        !MediaProbe::knownUnsupported().contains(suffix))
                << qPrintable(name + " ." + suffix);
    }
}

TEST(MediaProbe, FourCCIsMacRomanTextTrimmedOrTheNumber) {
    const std::pair<std::uint32_t, QString> cases[] = {
        {0x61766331, QStringLiteral("avc1")},       {0x61616320, QStringLiteral("aac")}, // 'aac '
        {0x20616320, QStringLiteral("ac")},    // blanks go at both ends
        {0xCA616163, QStringLiteral("aac")},   // Mac OS Roman 0xCA is a no-break space
        {0x61610963, QStringLiteral("aa\tc")}, // a tab inside stays
        {0x61616309, QStringLiteral("aac")},   // a tab at the end is blank
        {0xA9646179, QStringLiteral("©day")},  // 0xA9 is © in Mac OS Roman, not Latin-1
        {0x8E636F64, QStringLiteral("écod")},       {0x20202020, QString()},
        {0x6176630A, QStringLiteral("1635148554")}, // a line break makes it a number
        {0x7F000001, QStringLiteral("2130706433")},
    };
    for (const auto& [code, text] : cases)
        EXPECT_EQ(MediaProbe::fourCC(code), text) << std::hex << code;
}

} // namespace
} // namespace vimbo
