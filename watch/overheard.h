// What other hosts and their stations say on a line, for who only listens.
#ifndef FGS_WATCH_OVERHEARD_H
#define FGS_WATCH_OVERHEARD_H

#include "host/frame.h"

#include <map>
#include <QtCore/QByteArray>
#include <vector>

namespace fgs
{

/// Finds the good frames in what comes, whatever is between them. A reply of one word has the shape of its own
/// request; such a frame counts as a reply if it follows a request that it fits, but does not repeat.
class Overheard
{
public:
    void take(const char *bytes, int size);

    int bytes() const { return byteCount; }
    int frames() const { return frameCount; }
    /// In ascending order: those that have answered, and those that were asked in vain.
    std::vector<int> answering() const;
    std::vector<int> silent() const;
    /// Whether it goes on in circles: a request has come so often that whoever is asked was heard.
    bool isRepeated() const { return mostRepeats >= Rounds; }

private:
    static const int Rounds = 20;
    static const int Capacity = 8192; ///< more than the longest frame

    struct Station {
        int asked = 0, answered = 0;
    };
    bool takeFrame();
    bool takeAcknowledgement();
    void note(const QByteArray &frame);
    void noteRequest(const QByteArray &frame);
    void noteReply(int station);
    bool isReply(const QByteArray &frame) const;
    std::vector<int> stationsWhere(bool hasAnswered) const;

    QByteArray rest;
    QByteArray request; ///< the last one, not yet answered
    std::map<int, Station> stations;
    std::map<QByteArray, int> requests;
    int byteCount = 0, frameCount = 0, mostRepeats = 0;
};

} // namespace fgs

#endif
