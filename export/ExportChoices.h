#pragma once

// The two choices of an export that the user makes in the export sheet and on the command line.
// Raw values are what the user defaults and the command line store and accept.

#include <QString>

#include <array>
#include <optional>

namespace vimbo {

enum class ExportFormat { mp4, mov };
inline constexpr std::array<ExportFormat, 2> allExportFormats{ExportFormat::mp4, ExportFormat::mov};

QString rawValue(ExportFormat format);
std::optional<ExportFormat> exportFormatFromRaw(const QString& raw);
// "mp4" or "mov", without the dot.
QString fileExtension(ExportFormat format);
// The libavformat muxer that writes this file type.
const char* muxerName(ExportFormat format);
QString label(ExportFormat format);

enum class ExportQuality { original, high, smaller };
inline constexpr std::array<ExportQuality, 3> allExportQualities{
    ExportQuality::original, ExportQuality::high, ExportQuality::smaller};

QString rawValue(ExportQuality quality);
std::optional<ExportQuality> exportQualityFromRaw(const QString& raw);
QString label(ExportQuality quality);

} // namespace vimbo
