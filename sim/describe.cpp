#include "describe.h"

namespace fgssim
{

namespace
{

const std::size_t ValuesShown = 16;

std::string place(const Entry &entry)
{
    return "area " + std::to_string(entry.area->number) + " from " + addressText(*entry.area, entry.address);
}

std::string joined(const std::vector<std::uint32_t> &values)
{
    std::string text;
    for (std::size_t i = 0; i < values.size() && i < ValuesShown; ++i)
        text += " " + std::to_string(values[i]);
    return values.size() > ValuesShown ? text + " ..." : text;
}

std::string bitsOfReply(Slice data)
{
    std::string text = " ";
    for (Byte byte : data) {
        for (unsigned bit = 0; bit < 8; ++bit)
            text += char('0' + (byte >> bit & 1));
    }
    return text;
}

std::string valuesOfReply(const Entry &entry, Slice data)
{
    if (entry.area->kind == AreaKind::Bit)
        return bitsOfReply(data);
    const bool twoWords = entry.area->kind == AreaKind::DoubleWord;
    std::vector<std::uint32_t> values;
    for (std::size_t at = 0; at < data.size(); at += twoWords ? 4 : 2)
        values.push_back(data.be16(at) | (twoWords ? std::uint32_t(data.be16(at + 2)) << 16 : 0));
    return joined(values);
}

std::string describe(const Course &course)
{
    if (course.shape == Course::Shape::Fixed)
        return "fixed " + std::to_string(course.from);
    return (course.shape == Course::Shape::Ramp ? "ramp " : "walk ") + std::to_string(course.from) + ".." +
           std::to_string(course.to) + " by " + std::to_string(course.step);
}

} // namespace

std::string describe(const Request &request)
{
    std::string text =
        request.station == EveryStation ? "every station" : "station " + std::to_string(request.station);
    text += request.write ? " writes" : " reads";
    for (const Entry &entry : request.entries) {
        text += (&entry == &request.entries.front() ? " " : "; ") + place(entry);
        text += request.write ? ":" + joined(request.values) : ", " + counted(entry.count, entry.area->kind);
    }
    return text;
}

std::string describe(const Place &place)
{
    const std::string station = place.station ? " of station " + std::to_string(*place.station) : "";
    return "area " + std::to_string(place.area->number) + " from " + addressText(*place.area, place.first) + ", " +
           counted(place.count, place.area->kind) + station;
}

std::string describe(const Range &range)
{
    return describe(static_cast<const Place &>(range)) + ": " + describe(range.course);
}

std::string describeReply(const Request &request, Slice reply, std::size_t entryHead)
{
    const std::string station = "station " + std::to_string(request.station);
    if (request.write)
        return station + (reply.u8(2) == WriteRefused ? " refuses" : " acknowledges");
    std::string text = station + " answers";
    Slice rest = reply.from(3);
    for (const Entry &entry : request.entries) {
        const std::size_t length = dataLength(entry.area->kind, entry.count);
        text += (&entry == &request.entries.front() ? " " : "; ") + place(entry) + ":" +
                valuesOfReply(entry, rest.from(entryHead).first(length));
        rest = rest.from(entryHead + length);
    }
    return text;
}

} // namespace fgssim
