// One session of a host with the driver and with its model: every call in random order, good, damaged and missing
// replies, settings that change on the way.
#ifndef TARN_TESTS_SESSION_H
#define TARN_TESTS_SESSION_H

#include "compare.h"
#include "generate.h"

class Session
{
public:
    static const int steps = 150;

    /// Expects the driver as after loading, with these settings.
    Session(COMINFO &hostSettings, model::Random &source);

    /// Runs the steps; what differs after one of them ends it.
    std::string run();
    /// One operation on both sides. Returns what differs after it, with the operation and the settings.
    std::string step();

private:
    using Operation = std::string (Session::*)();

    Operation anyOperation();
    int anySetting(int word);
    int someArea();
    void set(int word, int value) { model::setWord(expected, settings, word, value); }
    void setCallback(bool given);
    std::string difference() const;
    std::string describeSettings() const;

    // Operations: each is done on both sides and returns what differs in its result.
    std::string poll();
    std::string askOnly();
    std::string answerOnly();
    std::string builder();
    std::string moreFrames();
    std::string otherReplyLength();
    std::string judge();
    std::string hostRead();
    std::string hostWrite();
    std::string queueWrite();
    std::string queueOnce();
    std::string rebuild();
    std::string addCyclic();
    std::string changeSetting();
    std::string otherCallback();
    std::string smallCalls();
    std::string nullPointers();
    std::string withoutSettings();
    std::string flood();

    // Their parts.
    std::string ask();
    std::string answer(const model::Bytes &reply, int length);
    bool startJob();

    COMINFO &settings;
    model::Random &random;
    model::Model expected;
    std::string operation; ///< of the present step, with its arguments
    int calm;              ///< percent of good replies
};

#endif
