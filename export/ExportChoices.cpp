#include "export/ExportChoices.h"

#include <QCoreApplication>

namespace vimbo {

QString rawValue(ExportFormat format) {
    return fileExtension(format);
}

std::optional<ExportFormat> exportFormatFromRaw(const QString& raw) {
    for (ExportFormat format : allExportFormats)
        if (rawValue(format) == raw)
            return format;
    return std::nullopt;
}

QString fileExtension(ExportFormat format) {
    return format == ExportFormat::mov ? QStringLiteral("mov") : QStringLiteral("mp4");
}

const char* muxerName(ExportFormat format) {
    return format == ExportFormat::mov ? "mov" : "mp4";
}

QString label(ExportFormat format) {
    return format == ExportFormat::mov ? QStringLiteral("MOV") : QStringLiteral("MP4");
}

QString rawValue(ExportQuality quality) {
    switch (quality) {
    case ExportQuality::original:
        return QStringLiteral("original");
    case ExportQuality::high:
        return QStringLiteral("high");
    case ExportQuality::smaller:
        return QStringLiteral("smaller");
    }
    return {};
}

std::optional<ExportQuality> exportQualityFromRaw(const QString& raw) {
    for (ExportQuality quality : allExportQualities)
        if (rawValue(quality) == raw)
            return quality;
    return std::nullopt;
}

QString label(ExportQuality quality) {
    switch (quality) {
    case ExportQuality::original:
        return QCoreApplication::translate("ExportQuality", "Original");
    case ExportQuality::high:
        return QCoreApplication::translate("ExportQuality", "High");
    case ExportQuality::smaller:
        return QCoreApplication::translate("ExportQuality", "Smaller File");
    }
    return {};
}

} // namespace vimbo
