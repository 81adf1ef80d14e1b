// Values that belong together: whoever brings them, the controller in a reply or the host in a write, gives all of
// them one number. A read that finds two has seen something half stored.
#ifndef TARN_TESTS_GROUPS_H
#define TARN_TESTS_GROUPS_H

#include <tarn_fgsseries.h>
#include <vector>

namespace stress
{

const int HostThreads = 4;
const int BlockWords = 32;

struct Group {
    int areaType;
    int address;
    int length; ///< bits, words or double words

    bool isBits() const { return areaType == 2; }
    bool isDoubleWords() const { return areaType == 10; }
    int width() const { return isBits() ? 1 : isDoubleWords() ? 4 : 2; } ///< bytes of a value, host side
    int words() const { return isDoubleWords() ? 2 * length : length; }
    QString text() const { return QString::number(address); }
};

extern const Group AllBlocks;   ///< six blocks of area 5, read in one request
extern const Group RemoteGroup; ///< read by remote requests
const std::vector<Group> &controllerGroups();
/// What a host thread writes: in the controller if writes go there, otherwise in the image only.
std::vector<Group> writtenBy(int thread);
/// In no list: nobody but this thread changes it.
Group privateOf(int thread);
/// Everything that may be read at any time.
const std::vector<Group> &allGroups();

QByteArray valuesOf(const Group &group, unsigned number);
QByteArray imageOf(const Group &group, bool perStation);
bool isWhole(const Group &group, const QByteArray &values);

/// The six blocks of AllBlocks and nothing else, so that one request reads them all.
QList<HOST_VAR> oneRequest();
/// All other groups of which the bit in `chosen` is set, and a word at the end.
QList<HOST_VAR> someGroups(unsigned chosen);

} // namespace stress

#endif
