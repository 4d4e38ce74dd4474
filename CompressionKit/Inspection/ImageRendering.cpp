#include "Inspection/ImageRendering.h"

#include "Foundation/CompressionError.h"
#include "Foundation/FileContents.h"
#include "ImageIO/DisplayDecoder.h"
#include "ImageIO/InvalidImage.h"

#include <algorithm>
#include <new>

namespace tarnwick {
namespace {

bool differs(const std::optional<std::string>& recorded, const std::string& found) {
    return recorded && *recorded != found;
}

std::int64_t longerSide(const Bitmap& picture) {
    return std::max(picture.width, picture.height);
}

} // namespace

DisplayImage ImageRendering::decode(const URL& url, std::optional<std::int64_t> maximumPixelSize) {
    requireImage(url.isFileURL());
    try {
        return unreadableAsInvalidImage(
            [&] { return std::make_shared<const Bitmap>(decodeForDisplay(url, maximumPixelSize)); });
    } catch (const std::bad_alloc&) {
        throw CompressionError::invalidImage();
    }
}

DisplayImage ImageRendering::comparisonImage(const URL& url, std::optional<std::int64_t> maximumPixelSize) {
    if (!url.isFileURL()) {
        throw CompressionError::fileOperation("请选择本地图片文件");
    }
    return decode(url, maximumPixelSize);
}

DisplayImage ImageRendering::thumbnail(const URL& url, std::int64_t maximumPixelSize) {
    return decode(url, maximumPixelSize);
}

ComparisonImages ImageRendering::readBoth(const URL& original, const URL& compressed,
                                          const std::optional<std::string>& originalHash,
                                          const std::optional<std::string>& replacementHash) {
    const std::string hashOfOriginal = hash(original);
    const std::string hashOfCompressed = hash(compressed);
    if (differs(originalHash, hashOfOriginal) || differs(replacementHash, hashOfCompressed)) {
        throw CompressionError::fileOperation("图片文件已被修改，无法对比");
    }
    ComparisonImages images;
    images.original = comparisonImage(original);
    images.compressed = comparisonImage(compressed, longerSide(*images.original));
    if (longerSide(*images.compressed) < longerSide(*images.original)) {
        // One that is shown smaller would look worse than it is.
        images.original = comparisonImage(original, longerSide(*images.compressed));
    }
    if (hash(original) != hashOfOriginal || hash(compressed) != hashOfCompressed) {
        throw CompressionError::fileOperation("图片文件在载入过程中被修改，请重新打开对比");
    }
    return images;
}

} // namespace tarnwick
