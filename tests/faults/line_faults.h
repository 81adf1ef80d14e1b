// Everything that can go wrong with the reply to one request, as a table. The matrix of this folder and the
// comparison in bench/faults use the same one.
#ifndef FGS_TESTS_LINE_FAULTS_H
#define FGS_TESTS_LINE_FAULTS_H

#include <chrono>
#include <functional>
#include <QtCore/QByteArray>
#include <string>
#include <vector>

namespace faults
{

using namespace std::chrono_literals;
using Time = std::chrono::nanoseconds;

/// Bytes that arrive some time after a request: the one that they belong to, or the next one after it.
struct Piece {
    Time after;
    QByteArray bytes;
    bool withNextRequest = false;
};
using Delivery = std::vector<Piece>;

/// A request, its reply, and what else may be on the line. The check of a frame is CRC-16 as in Modbus RTU.
struct Exchange {
    QByteArray request, reply;
    std::vector<int> station, command, number, codes, counts; ///< where they stand in the reply
    std::vector<int> data;                                    ///< likewise
    bool hasCheck = true;
    QByteArray stranger;   ///< another station's answer to the same question
    QByteArray otherShape; ///< this station's answer to a question of another shape
    QByteArray sameShape;  ///< its answer to the same question about other addresses; empty: there is none
    Time limit{0};         ///< the client's, for an answer

    int size() const { return int(reply.size()); }
    int headEnd() const; ///< where the last data begin
};

/// What the driver and its host make of a fault.
enum class Verdict {
    Good,      ///< the reply is found and stored
    BadCheck,  ///< refused for its check
    Missing,   ///< nothing that could be the reply
    BadLength, ///< refused for its length
    Deceived,  ///< a wrong value is taken for good: nothing on the line tells
    LinkLost,  ///< nobody is told; the request goes out again
    None       ///< there is no such fault
};

struct Fault {
    std::string name;
    int (*positions)(const Exchange &); ///< how many places it can strike
    std::function<Delivery(const Exchange &, int position)> deliver;
    Verdict read, acknowledge, remote; ///< of a read, of a write, of a remote read
    /// Why neither driver nor host can tell; null if one of them can. The fault deceives the transaction that it
    /// strikes if its verdict says so, otherwise the next one.
    const char *undetectable = nullptr;
};

const std::vector<Fault> &allFaults();

/// The usual time from a request to its reply.
const Time ReplyDelay = 5ms;
const Time Moment = 3ms;

} // namespace faults

#endif
