#pragma once

#include <lcms2.h>

#include <memory>
#include <new>
#include <type_traits>

namespace tarnwick {

// Owning handles. A profile, a curve and a text must not outlive their context.

struct DeleteContext {
    void operator()(cmsContext context) const noexcept { cmsDeleteContext(context); }
};
struct CloseProfile {
    void operator()(cmsHPROFILE profile) const noexcept { cmsCloseProfile(profile); }
};
struct FreeCurve {
    void operator()(cmsToneCurve* curve) const noexcept { cmsFreeToneCurve(curve); }
};
struct FreeText {
    void operator()(cmsMLU* text) const noexcept { cmsMLUfree(text); }
};
using ContextHandle = std::unique_ptr<std::remove_pointer_t<cmsContext>, DeleteContext>;
using ProfileHandle = std::unique_ptr<void, CloseProfile>;
using CurveHandle = std::unique_ptr<cmsToneCurve, FreeCurve>;
using TextHandle = std::unique_ptr<cmsMLU, FreeText>;

/// For steps that can fail only when memory is short, as the values were checked before.
inline void requireMemory(bool succeeded) {
    if (!succeeded) {
        throw std::bad_alloc();
    }
}

/// A context that reports no errors.
inline ContextHandle makeContext() {
    ContextHandle context(cmsCreateContext(nullptr, nullptr));
    requireMemory(context != nullptr);
    cmsSetLogErrorHandlerTHR(context.get(), [](cmsContext, cmsUInt32Number, const char*) {});
    return context;
}

/// The contents of a tag, owned by the profile; null when it is absent or malformed. `Contents` must be what
/// Little CMS returns for the tag.
template <typename Contents>
const Contents* readTag(cmsHPROFILE profile, cmsTagSignature tag) {
    return static_cast<const Contents*>(cmsReadTag(profile, tag));
}

} // namespace tarnwick
