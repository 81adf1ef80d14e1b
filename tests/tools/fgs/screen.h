// The screen of a terminal: enough of it for a program that draws.
#ifndef FGS_TESTS_SCREEN_H
#define FGS_TESTS_SCREEN_H

#include <string>
#include <vector>

class Screen
{
public:
    Screen(int rows, int columns);

    /// Draws what a program writes.
    void take(const std::string &bytes);
    /// The rows without their trailing blanks.
    std::vector<std::string> rows() const;
    /// The rows, one a line.
    std::string text() const;
    bool shows(const std::string &text) const { return this->text().find(text) != std::string::npos; }

private:
    using Cells = std::vector<std::vector<std::string>>;

    void takeByte(char byte);
    void control(char byte);
    void print(char byte);
    void lineFeed();
    bool sequenceIsWhole() const;
    void follow(const std::string &sequence);
    void command(char name, const std::vector<int> &numbers, bool isPrivate);
    void moveTo(int newRow, int newColumn);
    void eraseCells(int fromRow, int fromColumn, int toRow, int toColumn);
    void eraseDisplay(int how);
    void eraseLine(int how);
    void setMode(const std::vector<int> &numbers, bool on);
    Cells blank() const;

    int rowCount;
    int columnCount;
    Cells cells;
    Cells hidden; ///< the main screen while the alternate one is shown
    int row = 0;
    int column = 0; ///< columnCount: at the right margin, the next letter wraps
    int savedRow = 0;
    int savedColumn = 0;
    bool wraps = true;
    std::string sequence; ///< an escape sequence that is not whole yet
};

#endif
