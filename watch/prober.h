// Asks stations for one word, and tells their answers from an echo of the line.
#ifndef FGS_WATCH_PROBER_H
#define FGS_WATCH_PROBER_H

#include "host/frame.h"
#include "host/link.h"
#include "host/variable.h"

#include <optional>
#include <QtCore/QByteArray>

namespace fgs
{

/// What is asked for, and how long an answer is waited for beside the time that the bytes take.
struct ProbeSettings {
    Variable place = {5, 0, 1, 1}; ///< one word; the station does not matter
    Time patience = 200ms;
};

/// A place of one word: AREA:ADDRESS. Throws TextError.
Variable parseProbe(const QString &text);
/// The longest that a question takes on a silent link, with the silence before it.
Time questionLimit(const Link &link, const ProbeSettings &probe);

struct Answer {
    enum AnswerKind {
        Good,
        Silence,
        Garbled, ///< something came, but no answer
        Ended    ///< the link is lost, or has ended
    };
    AnswerKind kind = Silence;
    Time took = Time(0); ///< of Good: from the request to its last byte
};

/// Sends nothing but reads of one word, never to all stations.
///
/// An answer whose word is the address, as 0 at address 0, has the bytes of its question: it looks like an echo.
/// The first time that this happens, the same station is asked for the words beside the place: an echo follows
/// every question.
class Prober
{
public:
    /// What is known of the line's echo is the line's, not the prober's: all probers of a line share it. The link
    /// is open; both outlive the prober.
    Prober(Link &theLink, const ProbeSettings &theProbe, std::optional<bool> &lineEchoes)
        : link(theLink), probe(theProbe), echoes(lineEchoes)
    {
    }

    Answer ask(int station);

private:
    struct Exchange {
        Answer answer;
        bool isAlike = false; ///< nothing came but the question itself, and it is not known whether the line echoes
    };
    Exchange exchange(int station, int address);
    bool waitForSilence();
    bool converse(const QByteArray &question, Exchange &result);
    bool judge(const QByteArray &question, const QByteArray &received);
    bool isEcho(int station);

    Link &link;
    const ProbeSettings probe;
    std::optional<bool> &echoes;
};

} // namespace fgs

#endif
