// What goes to standard output: buffered bytes, checked writes, colours where a person will see them.
#pragma once

#include <QByteArray>
#include <QString>

namespace VKTool {

enum class ColorChoice { Auto, Always, Never };

enum class Style { Heading, Quiet, Folder, Video, Link, Good, Bad };

/// A stream of bytes to one file descriptor.
///
/// A reader that has left (a closed pipe) is not an error: what is written afterwards vanishes and isOpen()
/// tells a long-running command that it may stop. Any other failing write is kept for finish().
class Output {
public:
    explicit Output(int descriptor);
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    ~Output() = default; // Deliberately without a flush: its failure could be told to nobody.

    void setColor(ColorChoice choice) { mColor = choice; }

    [[nodiscard]] bool isTerminal() const { return mTerminal; }
    [[nodiscard]] bool isColored() const;
    /// The width of the terminal in cells, 80 elsewhere.
    [[nodiscard]] int columns() const;

    /// `text` between the escape sequences of a style, or as it is without colours.
    [[nodiscard]] QString styled(Style style, const QString& text) const;

    void writeBytes(QByteArrayView bytes);
    void write(const QString& text) { writeBytes(text.toUtf8()); }

    /// False once the reader has left or a write has failed.
    [[nodiscard]] bool isOpen() const { return !mGone && mError == 0; }

    /// Writes what is buffered: for a command that goes on and whose reader should not wait.
    void flush();

    /// Writes what is buffered and closes the descriptor. 0, or the errno of the first write that failed; a
    /// reader that has left counts as 0.
    [[nodiscard]] int finish();

private:
    int mDescriptor;
    int mError = 0;
    bool mGone = false;
    bool mTerminal;
    ColorChoice mColor = ColorChoice::Auto;
    QByteArray mBuffer;
};

/// One line to standard error, "vkqt: " and the sentence; control characters in it are made visible.
void complain(const QString& sentence);

} // namespace VKTool
