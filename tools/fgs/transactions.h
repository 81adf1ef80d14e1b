// Puts what was on lines together: each request with all that came for it.
#ifndef FGS_TOOL_TRANSACTIONS_H
#define FGS_TOOL_TRANSACTIONS_H

#include "formats/pcapng.h"
#include "host/frame_parts.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace fgs
{

/// Bytes as somebody recorded them.
struct Record {
    std::string line;                 ///< on which they were; empty: not known
    std::optional<std::int64_t> time; ///< nanoseconds since 1970 in UTC
    formats::Direction direction;     ///< as the recorder saw it
    std::string bytes;                ///< none: nothing was on the line
    std::string comment;              ///< of the recorder
    std::string place;                ///< in the input, in words: "line 4"
    bool mayBePart = false;           ///< a frame may go on in the next record of the same direction
};

/// A frame, noise, or the silence of a record without bytes.
struct Heard {
    FramePart part;    ///< at counts in the bytes of its record
    std::string bytes; ///< of the part
    std::shared_ptr<const Record> record;
    bool isEcho = false;
    bool isOther = false;                         ///< a good answer, but not to the request of its transaction
    std::shared_ptr<const Heard> asked = nullptr; ///< the request that it answers, perhaps an earlier one

    bool isSilence() const { return bytes.empty(); }
    FrameView view() const { return {bytes.data(), static_cast<int>(bytes.size())}; }
    int station() const { return view().at(part.shape == Shape::RemoteRequest ? 4 : StationAt); }
};

struct Transaction {
    std::shared_ptr<const Heard> request; ///< null: nobody asked
    std::vector<Heard> answers;           ///< and what else came until the next request
    bool isComplete = false;              ///< nothing is missing that should have come

    const Record &first() const { return request ? *request->record : *answers.front().record; }
};

/// Memory is bounded, however much is taken.
class Transactions
{
public:
    using Use = std::function<void(const Transaction &)>;

    explicit Transactions(Use theUse) : use(std::move(theUse)) {}

    void take(Record record);
    /// What is still open is all there is.
    void end();

    static const std::size_t MostLines = 1024;   ///< at a time
    static const std::size_t MostAnswers = 1024; ///< records of one transaction; what comes then is the next one

private:
    struct Line {
        formats::Direction requests = formats::Direction::Unknown; ///< as far as it is known
        std::shared_ptr<const Heard> waiting;                      ///< the request that waits for its reply
        std::deque<std::shared_ptr<const Heard>> unanswered;       ///< the newest last
        Transaction open;
        std::optional<Record> part; ///< its last frame may go on
    };

    Line &lineOf(const std::string &name);
    Record goingOn(Line &line, Record record);
    void hear(Line &line, Record record);
    void hearPart(Line &line, Heard heard);
    void hearRequest(Line &line, Heard heard);
    void hearAnswer(Line &line, Heard heard);
    void close(Line &line);

    const Use use;
    std::map<std::string, Line> lines;
};

} // namespace fgs

#endif
