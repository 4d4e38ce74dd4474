#include "Foundation/CompressionError.h"

#include <new>
#include <utility>

namespace tarnwick {

CompressionError::CompressionError(Case errorCase, std::string description)
    : case_(errorCase), description_(std::move(description)) {}

CompressionError CompressionError::toolMissing(const std::string& tool) {
    return {Case::toolMissing, "缺少压缩组件：" + tool};
}

CompressionError CompressionError::toolFailed(const std::string& detail) {
    return {Case::toolFailed, "压缩组件运行失败：" + detail};
}

CompressionError CompressionError::fileOperation(std::string message) {
    return {Case::fileOperation, std::move(message)};
}

CompressionError CompressionError::invalidImage() {
    return {Case::invalidImage, "图片无法解码"};
}

CompressionError CompressionError::formatMismatch() {
    return {Case::formatMismatch, "文件格式与扩展名不一致"};
}

CompressionError CompressionError::changedDuringCompression() {
    return {Case::changedDuringCompression, "原文件在压缩过程中被其他程序修改"};
}

CompressionError CompressionError::validationFailed() {
    return {Case::validationFailed, "压缩结果未通过验证"};
}

CompressionError CompressionError::unsafeRestore() {
    return {Case::unsafeRestore, "文件已被修改，无法直接恢复"};
}

std::string errorDescription(const std::exception& error) {
    if (dynamic_cast<const std::bad_alloc*>(&error) != nullptr) {
        return "内存不足";
    }
    return error.what();
}

std::string errorDescription(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& exception) {
        return errorDescription(exception);
    }
}

} // namespace tarnwick
