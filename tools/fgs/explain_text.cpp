#include "explain.h"
#include "output.h"
#include "tools/controls.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <utility>

namespace fgs
{

namespace
{

const int HexColumns = 24; // eight bytes
const int BytesPerRow = 8;

// What texts are put together from; they go into one string without any in between.

struct Hex {
    quint32 value;
    int digits;
};
/// "5:100"
struct PlaceIn {
    const Area &area;
    long long address;
};
/// Where a value belongs: an area, and its first address if that is known.
struct Place {
    const Area *area;      ///< null: none that there is
    int address;           ///< -1: not known
    int index;             ///< of the value
    bool isRemote = false; ///< on the wire

    bool isKnown() const { return area && address >= 0; }
    Place of(int other) const { return {area, address, other, isRemote}; }
};
/// The same on the wire, behind what a row says.
struct Wire {
    Place place;
};

void add(std::string &out, const char *text)
{
    out += text;
}
void add(std::string &out, char letter)
{
    out += letter;
}
void add(std::string &out, const std::string &text)
{
    out += text;
}

void addNumber(std::string &out, long long value, int base = 10)
{
    char digits[72];
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, value, base);
    out.append(digits, static_cast<std::size_t>(end.ptr - digits));
}
void add(std::string &out, int value)
{
    addNumber(out, value);
}
void add(std::string &out, quint32 value)
{
    addNumber(out, value);
}

void addByte(std::string &out, int byte)
{
    const char *const digits = "0123456789ABCDEF";
    const char pair[] = {digits[byte >> 4 & 15], digits[byte & 15]};
    out.append(pair, sizeof pair);
}
void add(std::string &out, Hex number)
{
    out += "0x";
    for (int shift = 4 * (number.digits - 2); shift >= 0; shift -= 8)
        addByte(out, static_cast<int>(number.value >> shift & 0xFF));
}

void add(std::string &out, const PlaceIn &place)
{
    addNumber(out, place.area.number);
    out += ':';
    addNumber(out, place.address, place.area.base);
}

template <typename... Parts>
void addAll(std::string &out, const Parts &...parts)
{
    (add(out, parts), ...);
}

void add(std::string &out, const Place &place)
{
    if (place.isKnown())
        add(out, PlaceIn{*place.area, place.address + place.index});
    else
        addAll(out, '+', place.index);
}
void add(std::string &out, const Wire &wire)
{
    const Place &place = wire.place;
    if (!place.isKnown())
        return;
    const int code = wireCode(*place.area, place.isRemote);
    add(out, "   wire ");
    if (place.isRemote)
        add(out, code);
    else
        add(out, Hex{static_cast<quint32>(code), 2});
    addAll(out, ':', place.address + place.index);
}

/// An unsigned value, its hexadecimal form, and as a signed one if that is another.
struct Value {
    quint32 value;
    int digits; ///< hexadecimal ones
    qint32 asSigned;
};

Value wordValue(int value)
{
    return {static_cast<quint32>(value), 4, value > 0x7FFF ? value - 0x10000 : value};
}

Value doubleWordAt(FrameView frame, int at)
{
    const quint32 value = static_cast<quint32>(frame.be16(at + 2)) << 16 | static_cast<quint32>(frame.be16(at));
    return {value, 8, static_cast<qint32>(value)};
}

void add(std::string &out, const Value &value)
{
    addAll(out, value.value, " (", Hex{value.value, value.digits});
    if (value.asSigned < 0)
        addAll(out, ", ", value.asSigned);
    out += ')';
}

struct Counted {
    int count;
    const char *what;
};
void add(std::string &out, const Counted &counted)
{
    addAll(out, counted.count, ' ', counted.what, counted.count == 1 ? "" : "s");
}

const char *unitOf(AreaKind kind)
{
    return kind == AreaKind::Bit ? "bit" : kind == AreaKind::Word ? "word" : "double word";
}

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
    template <typename... Parts>
    void row(int at, int size, const Parts &...parts)
    {
        if (!has(at, size))
            return;
        beginRow(at, size);
        addAll(out, parts...);
        out += '\n';
    }

    void beginRow(int at, int size)
    {
        out += "    ";
        for (int i = 0; i < size; ++i) {
            addByte(out, frame.at(at + i));
            out += ' ';
        }
        out.append(static_cast<std::size_t>(std::max(1, HexColumns - 3 * size)), ' ');
    }

    /// Rows of bytes that have one meaning together.
    void bytes(int at, int size, const char *text)
    {
        for (int from = at; from < at + size; from += BytesPerRow)
            row(from, std::min(BytesPerRow, at + size - from), from == at ? text : "...");
    }

    void cut()
    {
        if (heard.part.isWhole())
            return;
        out += "    -- ";
        out.append(HexColumns - 3, ' ');
        addAll(out, "cut off: ", heard.part.present, " of ", heard.part.size, " bytes\n");
    }

    void station(int at)
    {
        if (frame.at(at) == 0)
            row(at, 1, "station 0: all carry it out, and none answers");
        else
            row(at, 1, "station ", frame.at(at));
    }

    void check()
    {
        const int at = heard.part.size - CrcSize;
        if (heard.part.isGood)
            return row(at, CrcSize, "check code, right");
        if (!has(at, CrcSize))
            return;
        std::string right;
        addByte(right, checkFor(frame) & 0xFF);
        right += ' ';
        addByte(right, checkFor(frame) >> 8);
        row(at, CrcSize, "check code, wrong: ", right, " would be right");
    }

    void local()
    {
        const bool writes = frame.size > CommandAt && frame.at(CommandAt) == WriteCommand;
        station(StationAt);
        row(CommandAt, 1, writes ? "write" : "read");
        if (!has(CountAt, 1))
            return;
        const int number = frame.at(CountAt);
        if (heard.part.shape == Shape::WriteReply)
            return row(CountAt, 1, number == Acknowledged ? "done" : "refused: the controller does not do it");
        row(CountAt, 1, number, number == 1 ? " entry" : " entries");
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
        const Hex code = {static_cast<quint32>(each.code), 2};
        if (!each.area)
            return row(each.at, 1, "area code ", code, ", which is none; nothing after it can be told");
        const char *const unit = unitOf(each.area->kind);
        row(each.at, 1, "area ", each.area->number, ", ", unit, "s (wire code ", code, ')');
        row(each.at + 1, 1, Counted{each.count, unit});
        if (each.address >= 0)
            addresses(each);
        if (heard.part.shape == Shape::WriteRequest && each.area->kind == AreaKind::Bit)
            return writtenBit(each);
        values({each.area, address, 0}, each.area->kind, each.dataAt, each.present, each.count);
    }

    void addresses(const FrameEntry &each)
    {
        const bool isBitWrite = heard.part.shape == Shape::WriteRequest && each.area->kind == AreaKind::Bit;
        const PlaceIn first = {*each.area, each.address};
        const int at = each.at + 2, last = each.address + each.count - 1;
        if (each.count < 2 || isBitWrite)
            return row(at, 2, "from ", first, " (on the wire ", each.address, ')');
        row(at, 2, "from ", first, " to ", PlaceIn{*each.area, last}, " (on the wire ", each.address, " to ", last,
            ')', last >= AddressCount ? ", beyond the last address, 65535" : "");
    }

    void writtenBit(const FrameEntry &each)
    {
        if (!has(each.dataAt, 1))
            return;
        const int value = frame.at(each.dataAt);
        const Place place = {each.area, each.address, 0};
        row(each.dataAt, 1, place, " = ", value,
            value == 0   ? ", off"
            : value == 1 ? ", on"
                         : ", which is no bit",
            Wire{place});
    }

    void values(const Place &place, AreaKind kind, int at, int size, int count)
    {
        switch (kind) {
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
            beginRow(at + i, 1);
            addAll(out, place.of(first), " to ", place.of(last), " =");
            for (int bit = first; bit <= last; ++bit)
                out += isOn(at, bit) ? " 1" : " 0";
            const char *before = "   on: ";
            for (int bit = first; bit <= last; ++bit)
                if (isOn(at, bit))
                    addAll(out, std::exchange(before, ", "), place.of(bit));
            addAll(out, Wire{place.of(first)}, '\n');
        }
    }

    bool isOn(int at, int bit) const { return frame.at(at + bit / 8) >> bit % 8 & 1; }

    void words(const Place &place, int at, int size)
    {
        for (int i = 0; 2 * i + 2 <= size; ++i)
            row(at + 2 * i, 2, place.of(i), " = ", wordValue(frame.be16(at + 2 * i)), Wire{place.of(i)});
    }

    void doubleWords(const Place &place, int at, int size)
    {
        for (int i = 0; 4 * i + 4 <= size; ++i)
            row(at + 4 * i, 4, place.of(i), " = ", doubleWordAt(frame, at + 4 * i), Wire{place.of(i)});
    }

    void remoteRequest()
    {
        const RemoteRequest request = remoteRequestOf(frame);
        const Area *const area = areaOf(request.area);
        if (heard.part.size > 0xFF)
            row(0, 1, "length ", request.length, ", the low byte of ", heard.part.size);
        else
            row(0, 1, "length ", request.length);
        row(1, 1, "host type ", request.hostType);
        row(2, 1, "host field ", request.hostField);
        row(3, 1, "link ", request.linkNo);
        station(4);
        row(5, 2, "area ", request.area, area ? ", " : ", which is none", area ? unitOf(area->kind) : "",
            area ? "s" : "");
        if (area)
            row(7, 4, "address ", request.address, ": ", PlaceIn{*area, request.address});
        else
            row(7, 4, "address ", request.address);
        row(11, 2, "length ", request.count);
        row(13, 4, "store mark ", request.storeMark);
        row(17, 4, "host field ", request.hostField14);
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
            values({areaOf(asked.area), static_cast<int>(std::min<quint32>(asked.address, AddressCount)), 0, true},
                   asked.kind(), RemoteReplyDataAt, size, 8 * size);
        check();
    }

    std::string &out;
    const Heard &heard;
    const FrameView frame;
};

/// " 5:100x2, 1:20x16", as far as they are there
void addPlaces(std::string &out, const Heard &heard)
{
    const char *before = " ";
    for (const FrameEntry &entry : entriesOf(heard.view(), heard.part.shape)) {
        add(out, std::exchange(before, ", "));
        if (!entry.area)
            addAll(out, "area code ", Hex{static_cast<quint32>(entry.code), 2}, " x");
        else if (entry.address >= 0)
            addAll(out, PlaceIn{*entry.area, entry.address}, 'x');
        else
            addAll(out, "area ", entry.area->number, " x");
        add(out, entry.count);
    }
}

void addStation(std::string &out, int station)
{
    if (station)
        addAll(out, "station ", station);
    else
        out += "all stations";
}

void addRemoteRequest(std::string &out, const Heard &heard)
{
    const RemoteRequest request = remoteRequestOf(heard.view());
    const Area *const area = areaOf(request.area);
    out += "remote ";
    addStation(out, request.station);
    addAll(out, request.isWrite() ? ", write " : ", read ", request.area, ':');
    addNumber(out, request.address, area ? area->base : 10);
    addAll(out, 'x', request.count);
}

void addSubject(std::string &out, const Heard &heard)
{
    const Shape shape = heard.part.shape;
    if (shape == Shape::Noise || shape == Shape::RemoteReply)
        return add(out, shape == Shape::Noise ? "no frame" : "remote reply");
    if (shape == Shape::RemoteRequest)
        return addRemoteRequest(out, heard);
    addStation(out, heard.station());
    if (shape == Shape::WriteReply)
        return add(out,
                   heard.part.isGood && heard.view().at(CountAt) == Rejected ? ", write refused" : ", write done");
    add(out, shape == Shape::ReadRequest ? ", read" : shape == Shape::WriteRequest ? ", write" : ", answer");
    addPlaces(out, shape == Shape::ReadReply && heard.asked ? *heard.asked : heard);
}

std::string verdictOf(const Heard &heard)
{
    if (heard.part.shape == Shape::Noise || heard.isEcho)
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
    add(out, isRequest(heard.part.shape) && !heard.isEcho ? "  > " : "  < ");
    if (heard.isSilence()) {
        out += "nothing was on the line";
    } else {
        addAll(out, Counted{static_cast<int>(heard.bytes.size()), "byte"}, afterText(heard, transaction), ": ");
        if (heard.isEcho)
            out += "the request again: its echo";
        else
            addSubject(out, heard);
        add(out, verdictOf(heard));
    }
    if (!heard.record->comment.empty())
        addAll(out, "   [", printable(heard.record->comment), ']');
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
    std::string out;
    out.reserve(4096);
    if (!source.empty())
        addAll(out, printable(source), ", ");
    add(out, record.place);
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
