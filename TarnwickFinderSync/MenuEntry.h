#pragma once

namespace tarnwick {

/// The entry in one file manager's menu.
class MenuEntry {
public:
    MenuEntry() = default;
    MenuEntry(const MenuEntry&) = delete;
    MenuEntry& operator=(const MenuEntry&) = delete;
    virtual ~MenuEntry() = default;

    /// Whether an entry of ours is there, also one that is not up to date. Throws CompressionError or
    /// FileSystemError when that cannot be told.
    virtual bool stands() const = 0;
    /// Whether the file manager finds the entry, and it starts this application. Throws in the same way.
    virtual bool isCurrent() const = 0;
    /// Changes nothing where the entry is current. Throws CompressionError or FileSystemError, and changes
    /// nothing of the user's then.
    virtual void write() const = 0;
    /// In the same way; fine when no entry of ours is there.
    virtual void remove() const = 0;
};

} // namespace tarnwick
