#pragma once

namespace tarnwick {

/// The entry in the context menu of one file manager.
class MenuEntry {
public:
    MenuEntry() = default;
    MenuEntry(const MenuEntry&) = delete;
    MenuEntry& operator=(const MenuEntry&) = delete;
    virtual ~MenuEntry() = default;

    /// Whether an entry of ours exists, up to date or not. Throws CompressionError or FileSystemError when it
    /// cannot be read.
    virtual bool exists() const = 0;
    /// Whether the entry is where the file manager reads it, and starts this application. Throws as exists().
    virtual bool isCurrent() const = 0;
    /// Does nothing when the entry is current. Throws CompressionError or FileSystemError, and then leaves
    /// the user's files unchanged.
    virtual void write() const = 0;
    /// Does nothing when there is no entry of ours. Throws as write().
    virtual void remove() const = 0;
};

} // namespace tarnwick
