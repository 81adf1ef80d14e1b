#include "screen.h"

#include <algorithm>
#include <sstream>

namespace
{

const char Escape = '\x1b';

bool isContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

/// The numbers of "12;3"; a missing one is 0.
std::vector<int> numbersOf(const std::string &text)
{
    std::vector<int> numbers;
    std::istringstream stream(text);
    for (std::string number; std::getline(stream, number, ';');)
        numbers.push_back(std::atoi(number.c_str()));
    return numbers;
}

} // namespace

Screen::Screen(int rows, int columns) : rowCount(rows), columnCount(columns), cells(blank()) {}

Screen::Cells Screen::blank() const
{
    return Cells(size_t(rowCount), std::vector<std::string>(size_t(columnCount), " "));
}

void Screen::take(const std::string &bytes)
{
    for (const char byte : bytes)
        takeByte(byte);
}

void Screen::takeByte(char byte)
{
    if (sequence.empty() && byte != Escape)
        return static_cast<unsigned char>(byte) < ' ' ? control(byte) : print(byte);
    sequence += byte;
    if (!sequenceIsWhole())
        return;
    const std::string whole = std::move(sequence);
    sequence.clear();
    follow(whole);
}

bool Screen::sequenceIsWhole() const
{
    if (sequence.size() < 2)
        return false;
    const char kind = sequence[1];
    const char last = sequence.back();
    if (kind == '[')
        return sequence.size() > 2 && last >= '@' && last <= '~';
    if (kind == ']')
        return last == '\a' || (last == '\\' && sequence[sequence.size() - 2] == Escape);
    return kind != '(' || sequence.size() > 2;
}

void Screen::control(char byte)
{
    if (byte == '\n')
        lineFeed();
    else if (byte == '\r')
        column = 0;
    else if (byte == '\b')
        moveTo(row, std::min(column, columnCount - 1) - 1);
    else if (byte == '\t')
        moveTo(row, (column / 8 + 1) * 8);
}

void Screen::print(char byte)
{
    if (isContinuation(byte)) {
        cells[size_t(row)][size_t(std::max(column - 1, 0))] += byte;
        return;
    }
    if (column == columnCount && wraps) {
        column = 0;
        lineFeed();
    }
    column = std::min(column, columnCount - 1);
    cells[size_t(row)][size_t(column++)] = std::string(1, byte);
}

void Screen::lineFeed()
{
    if (row + 1 < rowCount) {
        ++row;
        return;
    }
    cells.erase(cells.begin());
    cells.push_back(blank()[0]);
}

void Screen::follow(const std::string &whole)
{
    if (whole[1] == '7') {
        savedRow = row;
        savedColumn = column;
    } else if (whole[1] == '8') {
        moveTo(savedRow, savedColumn);
    } else if (whole[1] == '[') {
        const bool isPrivate = whole[2] == '?';
        const size_t begin = isPrivate ? 3 : 2;
        command(whole.back(), numbersOf(whole.substr(begin, whole.size() - begin - 1)), isPrivate);
    }
}

void Screen::command(char name, const std::vector<int> &numbers, bool isPrivate)
{
    const auto number = [&numbers](size_t i) { return i < numbers.size() ? numbers[i] : 0; };
    const int count = std::max(number(0), 1);
    switch (name) {
    case 'A':
        return moveTo(row - count, column);
    case 'B':
        return moveTo(row + count, column);
    case 'C':
        return moveTo(row, column + count);
    case 'D':
        return moveTo(row, column - count);
    case 'E':
        return moveTo(row + count, 0);
    case 'F':
        return moveTo(row - count, 0);
    case 'G':
        return moveTo(row, count - 1);
    case 'd':
        return moveTo(count - 1, column);
    case 'H':
    case 'f':
        return moveTo(count - 1, std::max(number(1), 1) - 1);
    case 'J':
        return eraseDisplay(number(0));
    case 'K':
        return eraseLine(number(0));
    case 'h':
    case 'l':
        if (isPrivate)
            setMode(numbers, name == 'h');
        return;
    default: // colours and the like
        return;
    }
}

void Screen::moveTo(int newRow, int newColumn)
{
    row = std::clamp(newRow, 0, rowCount - 1);
    column = std::clamp(newColumn, 0, columnCount - 1);
}

/// Blanks the cells from the first up to the second place, both included.
void Screen::eraseCells(int fromRow, int fromColumn, int toRow, int toColumn)
{
    for (int at = fromRow * columnCount + fromColumn; at <= toRow * columnCount + toColumn; ++at)
        cells[size_t(at / columnCount)][size_t(at % columnCount)] = " ";
}

void Screen::eraseDisplay(int how)
{
    const int here = std::min(column, columnCount - 1);
    eraseCells(how == 0 ? row : 0, how == 0 ? here : 0, how == 1 ? row : rowCount - 1,
               how == 1 ? here : columnCount - 1);
}

void Screen::eraseLine(int how)
{
    const int here = std::min(column, columnCount - 1);
    eraseCells(row, how == 0 ? here : 0, row, how == 1 ? here : columnCount - 1);
}

void Screen::setMode(const std::vector<int> &numbers, bool on)
{
    for (const int number : numbers) {
        if (number == 7)
            wraps = on;
        if ((number == 1049 || number == 1047 || number == 47) && on == hidden.empty()) {
            hidden.swap(cells);
            if (on)
                cells = blank();
            else
                hidden.clear();
        }
    }
}

std::vector<std::string> Screen::rows() const
{
    std::vector<std::string> rows;
    for (const std::vector<std::string> &line : cells) {
        std::string text;
        for (const std::string &cell : line)
            text += cell;
        rows.push_back(text.substr(0, text.find_last_not_of(' ') + 1));
    }
    return rows;
}

std::string Screen::text() const
{
    std::string text;
    for (const std::string &line : rows())
        text += line + '\n';
    return text;
}
