#include "TarnwickCommand/Collecting.h"

#include "Foundation/Directory.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"
#include "Inspection/ImageKind.h"
#include "TarnwickCommand/GivenPath.h"
#include "Wording/Messages.h"

#include <set>
#include <utility>

namespace tarnwick {
namespace {

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
            const struct stat status = statusOf(url);
            if (S_ISDIR(status.st_mode)) {
                walk(path, GivenPath::resolved(url));
            } else if (!S_ISLNK(status.st_mode) && !ImageKind::from(url)) {
                files_.push_back({path, {}, std::string(Messages::unsupportedKind)});
            } else {
                add(path, GivenPath::resolvingFolder(url), status);
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
        const struct stat status = statusOf(url);
        if (S_ISDIR(status.st_mode)) {
            walk(path, url);
        } else if (S_ISREG(status.st_mode) && ImageKind::from(url)) {
            add(path, url, status);
        }
    }

    void add(const std::string& path, const URL& url, const struct stat& status) {
        if (seen_.insert(url).second) {
            const std::int64_t bytes = S_ISREG(status.st_mode) ? status.st_size : 0;
            files_.push_back({.path = path, .url = url, .bytes = bytes});
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
