#include "TarnwickCommand/TerminalText.h"

#include "Foundation/Text.h"

#include <clocale>
#include <cwchar>
#include <memory>
#include <type_traits>
#include <vector>

namespace tarnwick::TerminalText {
namespace {

constexpr std::string_view ellipsis = "…";

/// wcwidth() needs a UTF-8 locale, and the user's may be another.
class UTF8Locale {
public:
    UTF8Locale() : locale_(::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr), ::freelocale) {}

    int width(char32_t character) const {
        if (!locale_) {
            return -1;
        }
        const locale_t before = ::uselocale(locale_.get());
        const int result = ::wcwidth(static_cast<wchar_t>(character));
        ::uselocale(before);
        return result;
    }

private:
    std::unique_ptr<std::remove_pointer_t<locale_t>, void (*)(locale_t)> locale_;
};

struct Character {
    std::string_view bytes;
    std::size_t columns;
};

std::size_t columnsOf(char32_t character) {
    static const UTF8Locale locale;
    constexpr char32_t firstWide = 0x1100;
    const int width = locale.width(character);
    if (width >= 0) {
        return static_cast<std::size_t>(width);
    }
    return character < firstWide ? 1 : 2;
}

std::size_t lengthFromLead(unsigned char lead) {
    if (lead < 0xC0) {
        return 1;
    }
    if (lead < 0xE0) {
        return 2;
    }
    return lead < 0xF0 ? 3 : 4;
}

std::vector<Character> charactersOf(std::string_view text) {
    std::vector<Character> characters;
    while (!text.empty()) {
        const auto bytes = text.substr(0, lengthFromLead(static_cast<unsigned char>(text[0])));
        characters.push_back({bytes, columnsOf(codePoint(bytes))});
        text.remove_prefix(bytes.size());
    }
    return characters;
}

/// The number of bytes of the characters from `first` on that fit into `budget` columns.
template <typename Iterator>
std::size_t bytesWithin(Iterator first, Iterator last, std::size_t budget) {
    std::size_t bytes = 0;
    for (; first != last && first->columns <= budget; ++first) {
        budget -= first->columns;
        bytes += first->bytes.size();
    }
    return bytes;
}

} // namespace

std::size_t columns(std::string_view text) {
    std::size_t total = 0;
    for (const Character& character : charactersOf(text)) {
        total += character.columns;
    }
    return total;
}

std::string elidedInMiddle(std::string_view text, std::size_t maximumColumns) {
    if (columns(text) <= maximumColumns) {
        return std::string(text);
    }
    if (maximumColumns == 0) {
        return {};
    }
    const auto characters = charactersOf(text);
    const std::size_t budget = maximumColumns - 1;
    const std::size_t head = bytesWithin(characters.begin(), characters.end(), budget / 2);
    const std::size_t tail = bytesWithin(characters.rbegin(), characters.rend(), budget - budget / 2);
    return std::string(text.substr(0, head)) + std::string(ellipsis) +
           std::string(text.substr(text.size() - tail));
}

std::string padded(std::string_view text, std::size_t width) {
    const std::size_t used = columns(text);
    return std::string(text) + std::string(used < width ? width - used : 0, ' ');
}

} // namespace tarnwick::TerminalText
