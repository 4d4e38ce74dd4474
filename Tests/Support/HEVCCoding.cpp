#include "Support/HEVCCoding.h"

#include <libheif/heif.h>

#include <algorithm>
#include <array>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

/// x265 keeps a few buffers of every encoder that it has closed.
// NOLINTNEXTLINE(bugprone-reserved-identifier, cert-dcl37-c, cert-dcl51-cpp)
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libx265";
}

namespace tarnwick::test {
namespace {

struct Release {
    void operator()(heif_context* context) const { heif_context_free(context); }
    void operator()(heif_encoder* encoder) const { heif_encoder_release(encoder); }
    void operator()(heif_image* image) const { heif_image_release(image); }
    void operator()(heif_image_handle* handle) const { heif_image_handle_release(handle); }
    void operator()(heif_color_profile_nclx* profile) const { heif_nclx_color_profile_free(profile); }
};
template <typename Resource>
using Owned = std::unique_ptr<Resource, Release>;

void check(const heif_error& error) {
    if (error.code != heif_error_Ok) {
        throw std::runtime_error(std::string("HEIF encoder: ") + error.message);
    }
}

/// A picture as the encoder takes it. Green, blue and red stand for Y, Cb and Cr.
class Picture {
public:
    Picture(PictureSize size, int bits, bool isMonochrome) : size_(size), bits_(bits) {
        heif_image* image = nullptr;
        check(heif_image_create(static_cast<int>(size.width), static_cast<int>(size.height),
                                isMonochrome ? heif_colorspace_monochrome : heif_colorspace_YCbCr,
                                isMonochrome ? heif_chroma_monochrome : heif_chroma_444, &image));
        image_.reset(image);
        const Owned<heif_color_profile_nclx> profile(heif_nclx_color_profile_alloc());
        profile->matrix_coefficients =
            isMonochrome ? heif_matrix_coefficients_ITU_R_BT_601_6 : heif_matrix_coefficients_RGB_GBR;
        profile->full_range_flag = 1;
        check(heif_image_set_nclx_color_profile(image, profile.get()));
    }

    void addPlane(heif_channel channel, const Samples& samples) {
        check(heif_image_add_plane(image_.get(), channel, static_cast<int>(size_.width),
                                   static_cast<int>(size_.height), bits_));
        int stride = 0;
        std::uint8_t* plane = heif_image_get_plane(image_.get(), channel, &stride);
        const int maximum = (1 << bits_) - 1;
        for (std::int64_t y = 0; y < size_.height; ++y) {
            for (std::int64_t x = 0; x < size_.width; ++x) {
                const int value = (samples(x, y) * maximum + 127) / 255;
                if (bits_ == 8) {
                    plane[y * stride + x] = static_cast<std::uint8_t>(value);
                } else {
                    reinterpret_cast<std::uint16_t*>(plane + y * stride)[x] =
                        static_cast<std::uint16_t>(value);
                }
            }
        }
    }

    const heif_image* get() const { return image_.get(); }

private:
    PictureSize size_;
    int bits_;
    Owned<heif_image> image_;
};

heif_error collect(heif_context*, const void* data, std::size_t size, void* bytes) {
    const auto* begin = static_cast<const std::uint8_t*>(data);
    auto& collected = *static_cast<Bytes*>(bytes);
    collected.insert(collected.end(), begin, begin + size);
    return {heif_error_Ok, heif_suberror_Unspecified, ""};
}

/// A file of one item, as the library writes it.
Bytes encodedFile(const Picture& picture) {
    const Owned<heif_context> context(heif_context_alloc());
    heif_encoder* handle = nullptr;
    check(heif_context_get_encoder_for_format(context.get(), heif_compression_HEVC, &handle));
    const Owned<heif_encoder> encoder(handle);
    check(heif_encoder_set_lossless(handle, 1));
    check(heif_encoder_set_parameter_string(handle, "chroma", "444"));
    check(heif_encoder_set_parameter_string(handle, "preset", "ultrafast"));
    check(heif_context_encode_image(context.get(), picture.get(), handle, nullptr, nullptr));
    Bytes bytes;
    heif_writer writer = {.writer_api_version = 1, .write = collect};
    check(heif_context_write(context.get(), &writer, &bytes));
    return bytes;
}

Bytes payloadOf(std::string_view type, const Bytes& file) {
    const auto found = std::search(file.begin(), file.end(), type.begin(), type.end());
    if (found - file.begin() < 4 || found == file.end()) {
        throw std::runtime_error("HEIF encoder: no " + std::string(type));
    }
    std::size_t size = 0;
    for (auto byte = found - 4; byte != found; ++byte) {
        size = size << 8U | *byte;
    }
    return {found + 4, found + static_cast<std::ptrdiff_t>(size - 4)};
}

} // namespace

CodedPicture codedPicture(PictureSize size, int bits, const std::vector<Samples>& planes) {
    constexpr std::array channels = {heif_channel_Y, heif_channel_Cb, heif_channel_Cr};
    Picture picture(size, bits, planes.size() == 1);
    for (std::size_t i = 0; i < planes.size(); ++i) {
        picture.addPlane(channels.at(i), planes[i]);
    }
    const Bytes file = encodedFile(picture);
    return {payloadOf("hvcC", file), payloadOf("mdat", file)};
}

Bytes shownByLibrary(const URL& url) {
    const Owned<heif_context> context(heif_context_alloc());
    check(heif_context_read_from_file(context.get(), url.c_str(), nullptr));
    heif_image_handle* handle = nullptr;
    check(heif_context_get_primary_image_handle(context.get(), &handle));
    const Owned<heif_image_handle> primary(handle);
    heif_image* decoded = nullptr;
    check(heif_decode_image(handle, &decoded, heif_colorspace_RGB, heif_chroma_interleaved_RGBA, nullptr));
    const Owned<heif_image> image(decoded);
    int stride = 0;
    const std::uint8_t* plane = heif_image_get_plane_readonly(decoded, heif_channel_interleaved, &stride);
    Bytes rows;
    for (int y = 0; y < heif_image_get_height(decoded, heif_channel_interleaved); ++y) {
        const auto width = static_cast<std::size_t>(heif_image_get_width(decoded, heif_channel_interleaved));
        const std::uint8_t* row = plane + static_cast<std::ptrdiff_t>(y) * stride;
        rows.insert(rows.end(), row, row + width * 4);
    }
    return rows;
}

} // namespace tarnwick::test
