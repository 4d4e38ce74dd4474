#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tarnwick {

/// A write to standard output failed: its pipe is closed or its disk is full.
class OutputFailed : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Unbuffered standard output: written text is not lost when the program ends abruptly.
class Output {
public:
    /// Does not own the descriptor.
    explicit Output(int descriptor) noexcept : descriptor_(descriptor) {}

    /// Writes the whole text. Throws OutputFailed.
    void write(std::string_view text) const;
    /// The same with a line end.
    void writeLine(std::string_view line) const;

    /// Whether this is a terminal with cursor movement.
    bool isTerminal() const noexcept;
    /// The terminal's current width; 80 when it is unknown.
    std::size_t columns() const noexcept;

private:
    void waitUntilWritable() const;

    int descriptor_;
};

/// Prints "tarnwick：" and the message as a line on standard error.
void printError(std::string_view message);

/// A line on a terminal that is erased at the end of the scope; prints nothing elsewhere.
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
