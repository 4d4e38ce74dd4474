#include "TarnwickCommand/Collecting.h"

#include "Foundation/Directory.h"
#include "Foundation/FileSystemError.h"
#include "Inspection/ImageKind.h"
#include "TarnwickCommand/GivenPath.h"
#include "Wording/Messages.h"

#include <sys/stat.h>

#include <cerrno>
#include <set>
#include <utility>

namespace tarnwick {
namespace {

/// The file type bits of the mode; links are not followed. Throws FileSystemError.
mode_t itemType(const URL& url) {
    struct stat status {};
    if (::lstat(url.c_str(), &status) != 0) {
        throw FileSystemError("无法读取文件信息", url, errno);
    }
    return status.st_mode & S_IFMT;
}

bool isHidden(const URL& url) {
    return url.lastPathComponent().starts_with('.');
}

std::string joined(const std::string& folder, const std::string& name) {
    return folder.ends_with('/') ? folder + name : folder + '/' + name;
}

class Collector {
public:
    explicit Collector(const Cancellation& cancellation) : cancellation_(cancellation) {}

    void addGiven(const std::string& path) {
        reportingFailure(path, [&] {
            const URL url = GivenPath::url(path);
            const mode_t type = itemType(url);
            if (type == S_IFDIR) {
                walk(path, GivenPath::resolved(url));
            } else if (type != S_IFLNK && !ImageKind::from(url)) {
                files_.push_back({path, {}, std::string(Messages::unsupportedKind)});
            } else {
                add(path, GivenPath::resolvingFolder(url));
            }
        });
    }

    std::vector<CollectedFile> take() { return std::move(files_); }

private:
    template <typename Work>
    void reportingFailure(const std::string& path, Work work) {
        try {
            work();
        } catch (const FileSystemError& error) {
            files_.push_back({path, {}, error.what()});
        }
    }

    void walk(const std::string& path, const URL& folder) {
        for (const URL& entry : entries(folder)) {
            if (cancellation_.isRequested()) {
                throw Cancelled();
            }
            if (!isHidden(entry)) {
                const std::string entryPath = joined(path, entry.lastPathComponent());
                reportingFailure(entryPath, [&] { addFound(entryPath, entry); });
            }
        }
    }

    void addFound(const std::string& path, const URL& url) {
        const mode_t type = itemType(url);
        if (type == S_IFDIR) {
            walk(path, url);
        } else if (type == S_IFREG && ImageKind::from(url)) {
            add(path, url);
        }
    }

    void add(const std::string& path, const URL& url) {
        if (seen_.insert(url).second) {
            files_.push_back({path, url});
        }
    }

    const Cancellation& cancellation_;
    std::vector<CollectedFile> files_;
    std::set<URL> seen_;
};

} // namespace

std::vector<CollectedFile> collectFiles(const std::vector<std::string>& paths,
                                        const Cancellation& cancellation) {
    Collector collector(cancellation);
    for (const std::string& path : paths) {
        collector.addGiven(path);
    }
    return collector.take();
}

} // namespace tarnwick
