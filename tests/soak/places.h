// What the panel of the soak shows and writes.
#ifndef TARN_TESTS_PLACES_H
#define TARN_TESTS_PLACES_H

#include <tarn_fgsseries.h>
#include <vector>

namespace soak
{

/// Neighbouring values of one station: bits, words or double words.
struct Place {
    int areaType;
    int address; ///< in the controller's numbering; that of a bit is a multiple of 8
    int length;
    int station;

    bool isBits() const { return areaType <= 4 || areaType == 11; }
    bool isWritable() const { return areaType != 0 && areaType != 8; }
    QString text() const { return QString::number(address, areaType <= 1 ? 8 : 10); }
    int words() const { return areaType == 10 ? 2 * length : length; }
    int bytes() const { return isBits() ? length : 2 * words(); } ///< of its values between host and driver
};

using Screen = std::vector<Place>;

/// The screens for these stations. Each ends with a word, as per-station storage wants it.
std::vector<Screen> screens(const std::vector<int> &stations);
std::vector<Place> placesOf(const std::vector<Screen> &screens);

QList<HOST_VAR> hostVars(const Screen &screen);

/// The values in the driver's image.
QByteArray imageOf(const Place &place, bool perStation);
/// A read request for the place alone, and the values in the reply to it, as the image would give them.
QByteArray requestFor(const Place &place);
QByteArray valuesIn(const QByteArray &reply, const Place &place);

} // namespace soak

#endif
