// What a host asks of the driver for a set of variables, within the rules that the driver leaves to its host.
#ifndef FGS_HOST_PLAN_H
#define FGS_HOST_PLAN_H

#include "link.h"
#include "spans.h"

#include <functional>

namespace fgs
{

/// Where the driver keeps the values.
struct Storage {
    bool perStation = false; ///< COMINFO::stationMode
    int station = 1;         ///< COMINFO::defaultStation, the one station of the fixed image
    int blockWords = 0;      ///< COMINFO::blockWords
};

const int MinBlockWords = 4;
const int DefaultBlockWords = 64;
const int MaxBlockWords = 255;       ///< a frame counts in one byte
const int MaxRemoteBlockWords = 116; ///< a remote write, of 22 bytes more, counts its bytes in one byte
const int MaxBitBytes = 31;          ///< it counts bits

/// A reply with two data bytes is as long as its request and begins like it, so an echo would pass for it: a block
/// of fewer elements is not asked alone.
int fewestElements(const Area &area);
bool isTooShort(const Span &block);
/// What one block can carry.
int mostElements(const Area &area, int blockWords);

/// The fixed image serves one station and ends at the areas' capacities; anything else is stored per station.
/// The block size is the given one, cut to what one frame can carry: with bits at most 31.
Storage storageFor(const std::vector<Variable> &variables, int blockWords = DefaultBlockWords);

/// When a block was asked for last.
using AskedAt = std::function<Time(const Span &block)>;
/// The same blocks round and round, from that on that was asked for longest ago; of several the first.
Spans fromLongestAgo(Spans blocks, const AskedAt &askedAt);

/// The cyclic list to hand to ReCreatReadVarList(). A variable that is longer than a block is cut after even words,
/// so that no value over two words is torn. The blocks that the driver builds from it cover every address of the
/// variables and reach no further up than these do, whole bytes of bits and the lowest addresses of an area aside;
/// no reply to them can have the shape of its request. Station 0 cannot be read and is left out. They go round from
/// what was asked for longest ago.
QList<HOST_VAR> cyclicWishes(const std::vector<Variable> &variables, const Storage &storage,
                             const AskedAt &askedAt = {});

/// The same for bits that are wanted once: records for AddListOnceReadVar(), mode 0. hostAddr is the index in the
/// result. Other kinds cannot be read once: the driver would store the reply under its last grouped read.
std::vector<RW_VAR> onceWishes(const std::vector<Variable> &variables, const Storage &storage);

/// The blocks to read these spans, which are in order but may touch and overlap, and nothing beside them but what
/// lies between two of them that fit into one block together; none spans any of the barriers. A span that fits into
/// one block is in one. They may be shorter than fewestElements().
Spans exactBlocks(const Spans &spans, const Spans &barriers, int blockWords);
/// A block with as many elements as may be asked alone, downwards if that reaches no barrier, else upwards. If
/// both do it is left as it is.
Span widenedAway(const Span &block, const Spans &barriers);
/// A short part of what is wanted, another one for each number: whether any of them is answered tells if a station
/// is alive. The spans are not empty.
Span sampleOf(const Spans &wanted, int number);
/// The block as AddListReadVar() takes it: it is not joined with others. hostAddr is -1, as in the driver's own.
RW_VAR exactBlock(const Span &block);
/// How many requests the driver makes of these blocks: up to six neighbours of one station share one.
int requestsFor(const std::vector<RW_VAR> &blocks);

} // namespace fgs

#endif
