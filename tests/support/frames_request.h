// What every request builder has in common, for the tests of all of them.
#ifndef TARN_TESTS_FRAMES_REQUEST_H
#define TARN_TESTS_FRAMES_REQUEST_H

#include "support/fixture.h"

namespace frames
{

/// A driver whose reply positions, settings and counters hold marks, to see what a builder leaves alone.
class RequestTest : public DriverTest
{
protected:
    RequestTest() { markPositions(); }

    static constexpr int mark = 1000;

    static void markPositions()
    {
        for (int i = 0; i < 6; ++i) {
            iRet_ValidStar[i] = mark + i;
            iRet_ValidLen[i] = mark + 100 + i;
        }
        iTimes = mark;
        CurrentRWVar.clear();
        CurrentRWVar.append(distinctVariable(9, 99, 9));
    }

    /// Entry i of the position tables as "start+length"; "-" while it holds its mark.
    static std::string position(int i)
    {
        if (iRet_ValidStar[i] == mark + i && iRet_ValidLen[i] == mark + 100 + i)
            return "-";
        return std::to_string(iRet_ValidStar[i]) + "+" + std::to_string(iRet_ValidLen[i]);
    }
    static std::string positions()
    {
        std::string text = position(0);
        for (int i = 1; i < 6; ++i)
            text += " " + position(i);
        return text;
    }
    static ::testing::AssertionResult positionsAreUntouched()
    {
        if (positions() != "- - - - - -" || iTimes != mark || CurrentRWVar.size() != 1)
            return ::testing::AssertionFailure() << positions() << ", " << CurrentRWVar.size() << " variables";
        return sameVariable(CurrentRWVar.first(), distinctVariable(9, 99, 9));
    }

    /// Fills every setting with a mark of its own.
    void markSettings()
    {
        for (int i = 0; i < 20; ++i)
            word(i) = mark + i;
        settings.stationMode = 0;
    }
    int &word(int i) { return reinterpret_cast<int *>(&settings)[i]; }

    /// frameTotal 1, frameDone 0 and nothing else changed since markSettings().
    ::testing::AssertionResult onlyFrameCountsWereSet()
    {
        for (int i = 0; i < 20; ++i) {
            const int expected = i == 11 ? 1 : i == 12 || i == 9 ? 0 : mark + i;
            if (word(i) != expected)
                return ::testing::AssertionFailure() << "word " << i << " is " << word(i) << ", not " << expected;
        }
        return ::testing::AssertionSuccess();
    }

    /// The three spare words of a request are 0.
    static bool spareIsZero(const Protocol &request)
    {
        return request.spare[0] == 0 && request.spare[1] == 0 && request.spare[2] == 0;
    }
};

} // namespace frames

#endif
