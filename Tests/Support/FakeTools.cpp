#include "Support/FakeTools.h"

#include "Support/EscapedWords.h"

#include <filesystem>
#include <sstream>

namespace tarnwick::test {
namespace {

std::string encoded(const FakeTools::Script& script) {
    std::string text;
    for (const auto& words : script) {
        for (const std::string& word : words) {
            text += escaped(word) + " ";
        }
        text += "\n";
    }
    return text;
}

/// Also escapes slashes.
std::string fileName(std::string word) {
    for (std::size_t at = 0; (at = word.find('/', at)) != std::string::npos;) {
        word.replace(at, 1, "%2F");
    }
    return word;
}

} // namespace

FakeTools::FakeTools() {
    for (const char* name : {"pngquant", "oxipng", "cjpegli", "gifsicle", "ssimulacra2", "pluginkit"}) {
        std::filesystem::create_symlink(TARNWICK_FAKE_TOOL, (folder_ / name).path());
    }
}

void FakeTools::remove(const std::string& tool) const {
    removeFile(folder_ / tool);
}

void FakeTools::makeReachable(const std::string& tool) const {
    namespace fs = std::filesystem;
    remove(tool);
    fs::copy_file(TARNWICK_FAKE_TOOL, (folder_ / tool).path());
    fs::permissions(folder().path(), fs::perms::all);
}

void FakeTools::script(const std::string& tool, const Script& script) const {
    folder_.file(tool + ".script", encoded(script));
}

void FakeTools::scriptFor(const std::string& word, const std::string& tool, const Script& script) const {
    folder_.file(tool + ".scriptfor." + fileName(escaped(word)), encoded(script));
}

void FakeTools::scriptRun(int run, const std::string& tool, const Script& script) const {
    folder_.file(tool + ".script." + std::to_string(run), encoded(script));
}

void FakeTools::scores(const std::vector<std::string>& scores) const {
    const std::size_t runsBefore = runs("ssimulacra2").size();
    for (std::size_t i = 0; i < scores.size(); ++i) {
        scriptRun(static_cast<int>(runsBefore + i) + 1, "ssimulacra2", {{"print", scores[i]}});
    }
    script("ssimulacra2", {{"print", scores.back()}});
}

std::vector<FakeTools::Words> FakeTools::runs() const {
    std::vector<Words> all;
    const URL log = folder_ / "runs.log";
    std::istringstream lines(itemExists(log) ? contents(log) : "");
    for (std::string line; std::getline(lines, line);) {
        std::istringstream stream(line);
        Words words;
        for (std::string word; stream >> word;) {
            words.push_back(unescaped(word));
        }
        all.push_back(words);
    }
    return all;
}

std::vector<FakeTools::Words> FakeTools::runs(const std::string& tool) const {
    std::vector<Words> found;
    for (const Words& words : runs()) {
        if (words.front() == tool) {
            found.emplace_back(words.begin() + 1, words.end());
        }
    }
    return found;
}

} // namespace tarnwick::test
