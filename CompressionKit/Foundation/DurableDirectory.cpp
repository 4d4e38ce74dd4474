#include "Foundation/DurableDirectory.h"

#include "Foundation/Directory.h"
#include "Foundation/FileContents.h"

namespace tarnwick {

void createDurably(const URL& folder) {
    if (itemExists(folder)) {
        // Refuses what is no folder.
        createDirectories(folder);
        return;
    }
    const URL parent = folder.deletingLastPathComponent();
    createDurably(parent);
    createDirectories(folder, 0700);
    syncDirectory(parent);
}

} // namespace tarnwick
