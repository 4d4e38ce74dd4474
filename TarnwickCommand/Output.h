#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tarnwick {

/// Standard output takes nothing more: nobody reads it, or its disk is full.
class OutputFailed : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Standard output, unbuffered: what was written stands there even if the program ends at once.
class Output {
public:
    /// Does not own the descriptor.
    explicit Output(int descriptor) noexcept : descriptor_(descriptor) {}

    /// Writes all of the text. Throws OutputFailed.
    void write(std::string_view text) const;
    /// The same with a line end.
    void writeLine(std::string_view line) const;

    /// Whether this is a terminal that understands cursor movements.
    bool isTerminal() const noexcept;
    /// The terminal's width as it is now; 80 when it cannot be told.
    std::size_t columns() const noexcept;

private:
    void waitUntilWritable() const;

    int descriptor_;
};

/// A line for people on standard error: "tarnwick：" and the message.
void printError(std::string_view message);

/// A line that stands on a terminal while something is going on and is gone at the end of the scope; nothing
/// elsewhere.
class TransientLine {
public:
    /// Throws OutputFailed.
    TransientLine(const Output& output, bool isShown, std::string_view text);
    ~TransientLine();
    TransientLine(const TransientLine&) = delete;
    TransientLine& operator=(const TransientLine&) = delete;

private:
    const Output& output_;
    bool isShown_;
};

} // namespace tarnwick
