#include "Engine/HEICConversion.h"

#include "Foundation/CompressionError.h"
#include "Foundation/Directory.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileCopy.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"
#include "History/Restoring.h"
#include "ImageIO/ImageDestination.h"
#include "ImageIO/ImageSource.h"
#include "ImageIO/Orientation.h"

#include <fmt/format.h>

#include <exception>
#include <optional>
#include <utility>

namespace tarnwick {
namespace {

constexpr int maximumNames = 1'000;
constexpr int losslessBits = 8;

struct Decoded {
    URL url;
    std::int64_t bytes;
    std::string hash;
    std::string label;
};

/// The pixels after the orientation was applied.
std::vector<std::uint8_t> uprightPixels(const ImageSource& source, int orientation) {
    const ImageInfo& info = source.info();
    const auto frames = source.frames();
    if (!frames->next()) {
        throw CompressionError::invalidImage();
    }
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(info.width * info.height * 4));
    frames->readRows(pixels);
    return orientation == 1 ? std::move(pixels) : oriented(pixels, info.width, info.height, orientation);
}

void writePNG(const ImageSource& source, const URL& url) {
    const ImageInfo& info = source.info();
    const int orientation = info.orientation.value_or(1);
    const auto pixels = uprightPixels(source, orientation);
    const bool isTurned = swapsSides(orientation);
    ImageDestination destination(url, {.width = isTurned ? info.height : info.width,
                                       .height = isTurned ? info.width : info.height,
                                       .hasAlpha = info.hasAlpha,
                                       .profile = info.profile,
                                       .effort = ImageDestination::Effort::small});
    destination.writeRows(pixels);
    destination.commit();
}

void requireSize(const URL& png, const ImageFacts& heic) {
    const ImageFacts facts = ImageFacts::inspect(png);
    const bool isTurned = swapsSides(heic.orientation);
    if (facts.width != (isTurned ? heic.height : heic.width) ||
        facts.height != (isTurned ? heic.width : heic.height)) {
        throw CompressionError::validationFailed();
    }
}

Decoded decode(const Original& original, const URL& workDirectory) {
    const URL png = workDirectory.appending("decoded.png");
    int bits = 0;
    try {
        const auto source = ImageSource::open(original.url);
        bits = source->info().bitsPerComponent;
        writePNG(*source, png);
    } catch (const FileSystemError& error) {
        if (error.isOutOfSpace()) {
            throw;
        }
        throw CompressionError::invalidImage();
    }
    requireSize(png, original.facts);
    // Others may read no more of the picture than before.
    copyFileAttributes(original.url, png);
    syncFile(png);
    const auto* description = bits <= losslessBits ? "无损 PNG" : "8 位 PNG";
    return {.url = png,
            .bytes = fileSize(png),
            .hash = hash(png),
            .label = fmt::format("HEIC → PNG · {}", description)};
}

URL targetURL(const URL& original, int attempt) {
    const std::string name =
        attempt == 0 ? original.stem() + ".png" : fmt::format("{}（塔维克{}）.png", original.stem(), attempt);
    return original.deletingLastPathComponent().appending(name);
}

/// The new PNG until its record is committed. The destructor removes it if commit() was not called and no
/// other program has changed it.
class PublishedFile {
public:
    explicit PublishedFile(const UndoRecord& record) : file_(guardedReplacement(record)) {}
    PublishedFile(const PublishedFile&) = delete;
    PublishedFile& operator=(const PublishedFile&) = delete;
    ~PublishedFile() {
        try {
            isCommitted_ || !isPublished_ || file_.remove();
        } catch (const std::exception&) {
            // The first error is reported. A complete PNG stays.
        }
    }

    /// False when the name was taken meanwhile.
    bool publish(const URL& png, const URL& target) {
        isPublished_ = atomicRenameIfAbsent(png, target);
        return isPublished_;
    }
    void commit() noexcept { isCommitted_ = true; }

private:
    GuardedFile file_;
    bool isPublished_ = false;
    bool isCommitted_ = false;
};

/// Moves the PNG to the target and commits the record. False when the name was taken meanwhile. After an
/// error the new file is removed again.
bool publish(const UndoStore& undo, const Original& original, const Decoded& decoded, const URL& target,
             UndoRecord& record) {
    requireUnchanged(original);
    PublishedFile published(record);
    if (!published.publish(decoded.url, target)) {
        return false;
    }
    syncDirectory(target.deletingLastPathComponent());
    if (hash(target) != decoded.hash) {
        throw CompressionError::validationFailed();
    }
    record = undo.commit(record);
    published.commit();
    return true;
}

/// Tries one name. None when it is taken.
std::optional<UndoRecord> publishAs(const UndoStore& undo, const Original& original, const Decoded& decoded,
                                    const URL& target, const UUID& sessionID) {
    if (itemExists(target)) {
        return std::nullopt;
    }
    UndoRecord record = undo.prepare(original.url, decoded.url, sessionID, target);
    bool isPublished = false;
    try {
        isPublished = publish(undo, original, decoded, target, record);
    } catch (...) {
        const auto failure = std::current_exception();
        try {
            undo.discard(record);
        } catch (const CompressionError&) {
            // The first error is reported; the HEIC file itself was never touched.
        }
        std::rethrow_exception(failure);
    }
    if (!isPublished) {
        undo.discard(record);
        return std::nullopt;
    }
    return record;
}

} // namespace

CompressionResult compressHEIC(const UndoStore& undo, const Original& original, const UUID& sessionID,
                               const URL& workDirectory) {
    if (original.facts.frameCount != 1) {
        throw CompressionError::fileOperation("暂不支持包含多张图片的 HEIC 文件");
    }
    const Decoded decoded = decode(original, workDirectory);
    requireUnchanged(original);
    for (int attempt = 0; attempt < maximumNames; ++attempt) {
        const URL target = targetURL(original.url, attempt);
        if (const auto record = publishAs(undo, original, decoded, target, sessionID)) {
            return {.url = target,
                    .originalBytes = original.bytes,
                    .finalBytes = decoded.bytes,
                    .outcome = CompressionOutcome::converted,
                    .encoder = decoded.label,
                    .undoRecord = record};
        }
    }
    throw CompressionError::fileOperation("无法创建 PNG：同名文件过多");
}

} // namespace tarnwick
