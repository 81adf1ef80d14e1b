#include "explain.h"
#include "output.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <ctime>

namespace fgs
{

namespace
{

const int HexColumns = 24; // eight bytes
const int BytesPerRow = 8;

void appendHex(std::string &text, int byte)
{
    const char *const digits = "0123456789ABCDEF";
    text += digits[byte >> 4 & 15];
    text += digits[byte & 15];
}

std::string hexNumber(quint32 value, int digits)
{
    std::string text = "0x";
    for (int shift = 4 * (digits - 2); shift >= 0; shift -= 8)
        appendHex(text, static_cast<int>(value >> shift & 0xFF));
    return text;
}

std::string numberIn(int base, long long value)
{
    char digits[24];
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, value, base);
    return {digits, end.ptr};
}

std::string counted(int count, const char *what)
{
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

const char *unitOf(AreaKind kind)
{
    return kind == AreaKind::Bit ? "bit" : kind == AreaKind::Word ? "word" : "double word";
}

/// "5:100"
std::string placeIn(const Area &area, int address)
{
    return std::to_string(area.number) + ':' + numberIn(area.base, address);
}

std::string wirePlace(int code, int address)
{
    return "wire " + hexNumber(static_cast<quint32>(code), 2) + ':' + std::to_string(address);
}

quint32 doubleWordAt(FrameView frame, int at)
{
    return static_cast<quint32>(frame.be16(at + 2)) << 16 | static_cast<quint32>(frame.be16(at));
}

std::string wordText(int value)
{
    const std::string hex = hexNumber(static_cast<quint32>(value), 4);
    return std::to_string(value) +
           (value > 0x7FFF ? " (" + hex + ", " + std::to_string(value - 0x10000) + ")" : " (" + hex + ")");
}

std::string doubleWordText(quint32 value)
{
    const std::string hex = hexNumber(value, 8);
    return std::to_string(value) + (value > 0x7FFFFFFF
                                        ? " (" + hex + ", " + std::to_string(static_cast<qint32>(value)) + ")"
                                        : " (" + hex + ")");
}

/// Where values belong: an area, and its first address if that is known.
struct Place {
    const Area *area; ///< null: none that there is
    int address;      ///< -1: not known

    std::string text(int index) const
    {
        return area && address >= 0 ? placeIn(*area, address + index) : '+' + std::to_string(index);
    }
    std::string wire(int index) const
    {
        return area && address >= 0 ? "   " + wirePlace(area->code, address + index) : std::string();
    }
};

/// The fields of one frame, row by row.
class Rows
{
public:
    Rows(std::string &to, const Heard &theHeard) : out(to), heard(theHeard), frame(theHeard.view()) {}

    void write()
    {
        if (heard.part.shape == Shape::Noise)
            bytes(0, frame.size, "no frame");
        else if (heard.isEcho)
            bytes(0, frame.size, "the same bytes");
        else if (heard.part.shape == Shape::RemoteRequest)
            remoteRequest();
        else if (heard.part.shape == Shape::RemoteReply)
            remoteReply();
        else
            local();
        cut();
    }

private:
    bool has(int at, int size) const { return at + size <= frame.size; }

    /// What is cut off has no row.
    void row(int at, int size, const std::string &text)
    {
        if (!has(at, size))
            return;
        out += "    ";
        for (int i = 0; i < size; ++i) {
            appendHex(out, frame.at(at + i));
            out += ' ';
        }
        out.append(static_cast<std::size_t>(std::max(1, HexColumns - 3 * size)), ' ');
        out += text;
        out += '\n';
    }

    /// Rows of bytes that have one meaning together.
    void bytes(int at, int size, const std::string &text)
    {
        for (int from = at; from < at + size; from += BytesPerRow)
            row(from, std::min(BytesPerRow, at + size - from), from == at ? text : std::string("..."));
    }

    void cut()
    {
        if (heard.part.isWhole())
            return;
        out += "    -- ";
        out.append(HexColumns - 3, ' ');
        out += "cut off: " + std::to_string(heard.part.present) + " of " + std::to_string(heard.part.size) +
               " bytes\n";
    }

    void station(int at)
    {
        const int number = frame.at(at);
        row(at, 1, number ? "station " + std::to_string(number) : "station 0: all carry it out, and none answers");
    }

    void check()
    {
        const int at = heard.part.size - CrcSize;
        if (!has(at, CrcSize))
            return;
        std::string right;
        appendHex(right, checkFor(frame) & 0xFF);
        right += ' ';
        appendHex(right, checkFor(frame) >> 8);
        row(at, CrcSize,
            heard.part.isGood ? "check code, right" : "check code, wrong: " + right + " would be right");
    }

    void local()
    {
        const bool isWrite = frame.size > CommandAt && frame.at(CommandAt) == WriteCommand;
        station(StationAt);
        row(CommandAt, 1, isWrite ? "write" : "read");
        if (heard.part.shape == Shape::WriteReply) {
            if (has(CountAt, 1))
                row(CountAt, 1,
                    frame.at(CountAt) == Acknowledged ? "done" : "refused: the controller does not do it");
            return;
        }
        if (has(CountAt, 1))
            row(CountAt, 1, frame.at(CountAt) == 1 ? "1 entry" : std::to_string(frame.at(CountAt)) + " entries");
        entries();
        check();
    }

    void entries()
    {
        const std::vector<FrameEntry> asked =
            heard.asked ? entriesOf(heard.asked->view(), heard.asked->part.shape) : std::vector<FrameEntry>();
        std::size_t i = 0;
        for (const FrameEntry &each : entriesOf(frame, heard.part.shape)) {
            const bool isAsked = i < asked.size() && asked[i].code == each.code && asked[i].count == each.count;
            entry(each, each.address >= 0 ? each.address : isAsked ? asked[i].address : -1);
            ++i;
        }
    }

    void entry(const FrameEntry &each, int address)
    {
        const std::string code = hexNumber(static_cast<quint32>(each.code), 2);
        if (!each.area)
            return row(each.at, 1, "area code " + code + ", which is none; nothing after it can be told");
        const char *const unit = unitOf(each.area->kind);
        row(each.at, 1, "area " + std::to_string(each.area->number) + ", " + unit + "s (wire code " + code + ")");
        row(each.at + 1, 1, counted(each.count, unit));
        if (each.address >= 0)
            row(each.at + 2, 2, addresses(each));
        if (heard.part.shape == Shape::WriteRequest && each.area->kind == AreaKind::Bit)
            return writtenBit(each);
        values({each.area, address}, each.dataAt, each.present, each.count);
    }

    std::string addresses(const FrameEntry &each) const
    {
        const Area &area = *each.area;
        const bool isOne =
            each.count < 2 || (heard.part.shape == Shape::WriteRequest && area.kind == AreaKind::Bit);
        const int last = each.address + each.count - 1;
        return "from " + placeIn(area, each.address) + (isOne ? "" : " to " + placeIn(area, last)) +
               " (on the wire " + std::to_string(each.address) + (isOne ? "" : " to " + std::to_string(last)) +
               ')' + (last >= AddressCount ? ", beyond the area's last, 65535" : "");
    }

    void writtenBit(const FrameEntry &each)
    {
        if (!has(each.dataAt, 1))
            return;
        const int value = frame.at(each.dataAt);
        const Place place = {each.area, each.address};
        row(each.dataAt, 1,
            place.text(0) + " = " +
                (value == 0   ? "0, off"
                 : value == 1 ? "1, on"
                              : "neither 0 nor 1") +
                place.wire(0));
    }

    void values(const Place &place, int at, int size, int count)
    {
        switch (place.area->kind) {
        case AreaKind::Bit:
            return bits(place, at, size, count);
        case AreaKind::Word:
            return words(place, at, size);
        case AreaKind::DoubleWord:
            return doubleWords(place, at, size);
        }
    }

    void bits(const Place &place, int at, int size, int count)
    {
        for (int i = 0; i < size; ++i) {
            const int first = 8 * i, last = std::min(first + 8, count) - 1;
            std::string text = place.text(first) + " to " + place.text(last) + " =", on;
            for (int bit = first; bit <= last; ++bit) {
                const bool isOn = frame.at(at + i) >> (bit - first) & 1;
                text += isOn ? " 1" : " 0";
                if (isOn)
                    on += (on.empty() ? "on: " : ", ") + place.text(bit);
            }
            row(at + i, 1, text + (on.empty() ? "" : "   " + on) + place.wire(first));
        }
    }

    void words(const Place &place, int at, int size)
    {
        for (int i = 0; 2 * i + 2 <= size; ++i)
            row(at + 2 * i, 2, place.text(i) + " = " + wordText(frame.be16(at + 2 * i)) + place.wire(i));
    }

    void doubleWords(const Place &place, int at, int size)
    {
        for (int i = 0; 4 * i + 4 <= size; ++i)
            row(at + 4 * i, 4,
                place.text(i) + " = " + doubleWordText(doubleWordAt(frame, at + 4 * i)) + place.wire(i));
    }

    void remoteRequest()
    {
        const RemoteRequest request = remoteRequestOf(frame);
        const Area *const area = areaOf(request.area);
        row(0, 1,
            "length " + std::to_string(request.length) +
                (heard.part.size > 0xFF ? ", the low byte of " + std::to_string(heard.part.size) : ""));
        row(1, 1, "host type " + std::to_string(request.hostType));
        row(2, 1, "host field " + std::to_string(request.hostField));
        row(3, 1, "link " + std::to_string(request.linkNo));
        station(4);
        row(5, 2,
            "area " + std::to_string(request.area) +
                (area ? std::string(", ") + unitOf(area->kind) + "s" : ", which is none"));
        row(7, 4,
            "address " + std::to_string(request.address) +
                (area ? ": " + std::to_string(request.area) + ':' + numberIn(area->base, request.address) : ""));
        row(11, 2, "length " + std::to_string(request.count));
        row(13, 4, "store mark " + std::to_string(request.storeMark));
        row(17, 4, "host field " + std::to_string(request.hostField14));
        bytes(RemoteHeaderSize, request.data.size, "data to write, as the host has them: low byte first");
        row(heard.part.size - RemoteSumSize, RemoteSumSize, "sum, right");
    }

    void remoteReply()
    {
        if (!heard.asked)
            return bytes(0, frame.size, "the reply to a request that was not recorded");
        const RemoteRequest asked = remoteRequestOf(heard.asked->view());
        row(0, RemoteReplyDataAt, "head, whose bytes are not looked at");
        const int size = std::min(heard.part.size - CrcSize, frame.size) - RemoteReplyDataAt;
        if (asked.isWrite())
            row(RemoteReplyDataAt, 3, "written");
        else if (size > 0)
            remoteValues(asked, size);
        check();
    }

    void remoteValues(const RemoteRequest &asked, int size)
    {
        const Place place = {areaOf(asked.area), static_cast<int>(std::min<quint32>(asked.address, AddressCount))};
        const bool areBits = asked.area < 5;
        if (areBits)
            bits(place, RemoteReplyDataAt, size, 8 * size);
        else if (asked.area == 10)
            doubleWords(place, RemoteReplyDataAt, size);
        else
            words(place, RemoteReplyDataAt, size);
    }

    std::string &out;
    const Heard &heard;
    const FrameView frame;
};

/// " 5:100x2, 1:20x16", as far as they are there
std::string placesOf(const Heard &heard)
{
    std::string text;
    for (const FrameEntry &entry : entriesOf(heard.view(), heard.part.shape)) {
        text += text.empty() ? " " : ", ";
        text += !entry.area          ? "area code " + hexNumber(static_cast<quint32>(entry.code), 2)
                : entry.address >= 0 ? placeIn(*entry.area, entry.address)
                                     : "area " + std::to_string(entry.area->number);
        text += (entry.address >= 0 ? "x" : " x") + std::to_string(entry.count);
    }
    return text;
}

std::string stationText(int station)
{
    return station ? "station " + std::to_string(station) : "all stations";
}

std::string remoteText(const Heard &heard)
{
    const RemoteRequest request = remoteRequestOf(heard.view());
    const Area *const area = areaOf(request.area);
    return "remote " + stationText(request.station) + (request.isWrite() ? ", write " : ", read ") +
           std::to_string(request.area) + ':' + numberIn(area ? area->base : 10, request.address) + 'x' +
           std::to_string(request.count);
}

std::string subjectOf(const Heard &heard)
{
    switch (heard.part.shape) {
    case Shape::ReadRequest:
        return stationText(heard.station()) + ", read" + placesOf(heard);
    case Shape::WriteRequest:
        return stationText(heard.station()) + ", write" + placesOf(heard);
    case Shape::ReadReply:
        return stationText(heard.station()) + ", answer" + placesOf(heard.asked ? *heard.asked : heard);
    case Shape::WriteReply:
        return stationText(heard.station()) +
               (heard.part.isGood && heard.view().at(CountAt) == Rejected ? ", write refused" : ", write done");
    case Shape::RemoteRequest:
        return remoteText(heard);
    case Shape::RemoteReply:
        return "remote reply";
    case Shape::Noise:
        break;
    }
    return "no frame";
}

std::string verdictOf(const Heard &heard)
{
    if (heard.part.shape == Shape::Noise)
        return {};
    if (!heard.part.isWhole())
        return "; cut off";
    if (!heard.part.isGood)
        return "; WRONG CHECK CODE";
    if (heard.isOther)
        return heard.asked ? "; a late answer, to the request of " + heard.asked->record->place
                           : "; NOT AN ANSWER to this request";
    return {};
}

std::string afterText(const Heard &heard, const Transaction &transaction)
{
    const std::optional<double> after = transaction.request && &heard != transaction.request.get()
                                            ? millisecondsBetween(*transaction.request->record, *heard.record)
                                            : std::nullopt;
    char text[32] = "";
    if (after)
        std::snprintf(text, sizeof text, ", after %.3f ms", *after);
    return text;
}

/// What a recorder wrote may hold anything.
std::string printable(const std::string &text)
{
    const bool isPlain =
        std::all_of(text.begin(), text.end(), [](char letter) { return letter >= ' ' && letter < 0x7F; });
    return isPlain ? text : withoutControls(QString::fromStdString(text)).toStdString();
}

void explain(std::string &out, const Heard &heard, const Transaction &transaction)
{
    out += isRequest(heard.part.shape) && !heard.isEcho ? "  > " : "  < ";
    if (heard.isSilence())
        out += "nothing was on the line";
    else
        out += counted(static_cast<int>(heard.bytes.size()), "byte") + afterText(heard, transaction) + ": " +
               (heard.isEcho ? "the request again: its echo" : subjectOf(heard) + verdictOf(heard));
    if (!heard.record->comment.empty())
        out += "   [" + printable(heard.record->comment) + ']';
    out += '\n';
    if (!heard.isSilence())
        Rows(out, heard).write();
}

void explainEnd(std::string &out, const Transaction &transaction)
{
    if (!transaction.request)
        return;
    const bool isToAll = transaction.isComplete && transaction.answers.empty();
    if (isToAll)
        out += "  < none answers a request to all stations\n";
    else if (transaction.answers.empty())
        out += "  < no answer recorded\n";
}

} // namespace

std::string explanationOf(const Transaction &transaction, const std::string &source)
{
    const Record &record = transaction.first();
    std::string out = source.empty() ? record.place : printable(source) + ", " + record.place;
    if (!record.line.empty())
        out += "  " + printable(record.line);
    if (record.time)
        out += "  " + timeText(*record.time);
    out += transaction.request ? "\n" : "  nobody asked\n";
    if (transaction.request)
        explain(out, *transaction.request, transaction);
    for (const Heard &heard : transaction.answers)
        explain(out, heard, transaction);
    explainEnd(out, transaction);
    return out + '\n';
}

std::string timeText(std::int64_t time)
{
    const std::int64_t second = 1000000000;
    const auto whole = static_cast<std::time_t>(time / second - (time % second < 0));
    const long long fraction = (time % second + second) % second / 1000;
    std::tm broken = {};
    localtime_r(&whole, &broken);
    const long offset = std::labs(broken.tm_gmtoff) / 60;
    char text[96];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%06lld%c%02ld:%02ld", broken.tm_year + 1900,
                  broken.tm_mon + 1, broken.tm_mday, broken.tm_hour, broken.tm_min, broken.tm_sec, fraction,
                  broken.tm_gmtoff < 0 ? '-' : '+', offset / 60, offset % 60);
    return text;
}

std::optional<double> millisecondsBetween(const Record &from, const Record &to)
{
    std::int64_t between = 0;
    if (!from.time || !to.time || __builtin_sub_overflow(*to.time, *from.time, &between))
        return std::nullopt;
    return static_cast<double>(between) / 1e6;
}

} // namespace fgs
