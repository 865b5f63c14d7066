#include "media/HeifPhoto.h"

#include "media/PhotoMetadata.h"

#include <QFile>

#include <libheif/heif.h>

#include <algorithm>
#include <array>
#include <memory>
#include <mutex>

namespace vimbo {
namespace {

// EXIF in a JPEG is at most 64 KiB; anything near this size is not EXIF worth reading.
constexpr std::size_t maxExifSize = 4 << 20;

struct ContextDeleter {
    void operator()(heif_context* context) const { heif_context_free(context); }
};
struct HandleDeleter {
    void operator()(heif_image_handle* handle) const { heif_image_handle_release(handle); }
};
using ContextPtr = std::unique_ptr<heif_context, ContextDeleter>;
using HandlePtr = std::unique_ptr<heif_image_handle, HandleDeleter>;

void prepareLibheif() {
    // Balanced by no heif_deinit: the library stays initialised for the life of the process.
    static std::once_flag once;
    std::call_once(once, [] { heif_init(nullptr); });
}

std::vector<std::uint8_t> exifOf(heif_image_handle* handle) {
    heif_item_id id = 0;
    if (heif_image_handle_get_list_of_metadata_block_IDs(handle, "Exif", &id, 1) != 1)
        return {};
    const std::size_t size = heif_image_handle_get_metadata_size(handle, id);
    if (size == 0 || size > maxExifSize)
        return {};
    std::vector<std::uint8_t> item(size);
    if (heif_image_handle_get_metadata(handle, id, item.data()).code != heif_error_Ok)
        return {};
    const std::span<const std::uint8_t> tiff = exifInBox(item);
    return {tiff.begin(), tiff.end()};
}

} // namespace

bool isHeifFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray head = file.read(64);
    const auto result = heif_check_filetype(reinterpret_cast<const std::uint8_t*>(head.constData()),
                                            static_cast<int>(head.size()));
    return result != heif_filetype_no;
}

std::optional<HeifPhoto> readHeif(const QString& path) {
    prepareLibheif();
    ContextPtr context(heif_context_alloc());
    if (!context)
        return std::nullopt;
    const QByteArray name = QFile::encodeName(path);
    if (heif_context_read_from_file(context.get(), name.constData(), nullptr).code != heif_error_Ok)
        return std::nullopt;
    heif_image_handle* primary = nullptr;
    if (heif_context_get_primary_image_handle(context.get(), &primary).code != heif_error_Ok)
        return std::nullopt;
    const HandlePtr handle(primary);
    return HeifPhoto{
        .width = heif_image_handle_get_width(handle.get()),
        .height = heif_image_handle_get_height(handle.get()),
        .exif = exifOf(handle.get()),
    };
}

} // namespace vimbo
