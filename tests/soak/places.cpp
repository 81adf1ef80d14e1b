#include "places.h"

#include "support/frames.h"

namespace soak
{

namespace
{

struct Part {
    int areaType;
    int address;
    int length;
};

const std::vector<std::vector<Part>> layouts = {
    {{2, 0, 16}, {1, 8, 24}, {10, 0, 4}, {5, 0, 20}, {5, 64, 8}, {9, 0, 4}},
    {{5, 200, 6}, {5, 260, 6}, {5, 320, 6}, {5, 380, 6}, {5, 440, 6}, {5, 500, 6}, {5, 560, 6}, {5, 620, 6}},
    {{0, 0, 16}, {3, 0, 8}, {4, 64, 32}, {11, 0, 16}, {8, 0, 6}, {7, 10, 2}},
    {{12, 0, 8}, {13, 0, 8}, {6, 100, 10}, {10, 100, 2}, {5, 9990, 10}},
    {{9, 0, 1}},
};

frames::Block blockOf(const Place &place)
{
    const int length = place.isBits() ? place.length / 8 : place.areaType == 10 ? place.length + 1 : place.length;
    return {place.areaType, place.address, length};
}

} // namespace

std::vector<Screen> screens(const std::vector<int> &stations)
{
    std::vector<Screen> all;
    for (const std::vector<Part> &layout : layouts) {
        Screen screen;
        for (int station : stations)
            for (const Part &part : layout)
                screen.push_back({part.areaType, part.address, part.length, station});
        all.push_back(screen);
    }
    return all;
}

std::vector<Place> placesOf(const std::vector<Screen> &screens)
{
    std::vector<Place> places;
    for (const Screen &screen : screens)
        places.insert(places.end(), screen.begin(), screen.end());
    return places;
}

QList<HOST_VAR> hostVars(const Screen &screen)
{
    QList<HOST_VAR> vars;
    for (const Place &place : screen) {
        HOST_VAR var;
        var.areaType = static_cast<unsigned char>(place.areaType);
        var.station = static_cast<unsigned char>(place.station);
        var.address = place.text();
        var.length = place.areaType == 10 ? place.length + 1 : place.length;
        vars.append(var);
    }
    return vars;
}

QByteArray imageOf(const Place &place, bool perStation)
{
    QByteArray values;
    GetRegisterData(0, place.areaType, place.text(), place.station, &values,
                    perStation ? place.length : place.words());
    return values;
}

QByteArray requestFor(const Place &place)
{
    return frames::readRequest(place.station, {blockOf(place)});
}

QByteArray valuesIn(const QByteArray &reply, const Place &place)
{
    const int firstData = 5;
    QByteArray values;
    for (int i = 0; i < place.bytes(); ++i) {
        const int at = firstData + (place.isBits() ? i / 8 : i ^ 1);
        values.append(place.isBits() ? char(reply.at(at) >> (i % 8) & 1) : reply.at(at));
    }
    return values;
}

} // namespace soak
