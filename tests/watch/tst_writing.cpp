// What becomes of assignments: each result, from a controller in virtual time.
#include "support/handled_writes.h"
#include "support/write_results.h"
#include "watch/watch_test.h"

using namespace fgs;

namespace
{

const Time Patience = 5s;

class WritingTest : public WatchTest
{
protected:
    /// Writes them, one value each.
    std::vector<WriteReport> write(const std::vector<const char *> &texts)
    {
        std::vector<Assignment> assignments;
        for (const char *text : texts) {
            assignments.push_back(parseAssignment(QString::fromLatin1(text), 1, Format::Unsigned));
            variables.push_back(assignments.back().tag.variable);
        }
        host = std::make_unique<Host>(linkedDriver(), link, variables);
        return writeAll(*host, link, assignments, Patience);
    }

    static std::string told(const WriteReport &report)
    {
        return text(textOf(report, [](const Reason &reason) { return textOf(reason); }));
    }

    HandledWrites writes{link};
};

TEST_F(WritingTest, WhatTheControllerHoldsAfterwardsIsVerified)
{
    const auto reports = write({"5:100=1,2,3", "2:7=1", "10:4=305419896"});
    EXPECT_EQ(resultsOf(reports), (Results{WriteResult::Verified, WriteResult::Verified, WriteResult::Verified}));
    EXPECT_EQ(reports[0].held.values, (std::vector<quint32>{1, 2, 3}));
    EXPECT_EQ(told(reports[0]), "written and verified");
}

TEST_F(WritingTest, ALostAcknowledgementIsNoDenial)
{
    writes.handle(2, [this](const QByteArray &request) { link.controller.answer(request); });
    const auto reports = write({"5:100=1", "5:200=2", "5:300=3"});
    EXPECT_EQ(resultsOf(reports),
              (Results{WriteResult::Verified, WriteResult::NotAcknowledged, WriteResult::NotSent}));
    EXPECT_EQ(told(reports[1]), "not acknowledged (no reply); the controller holds the new values");
    EXPECT_EQ(told(reports[2]), "not sent");
}

TEST_F(WritingTest, AWriteThatNeverArrivedIsReadBackWithTheOldValue)
{
    writes.handle(1, [](const QByteArray &) {});
    const auto reports = write({"5:100=1"});
    EXPECT_EQ(reports[0].result, WriteResult::NotAcknowledged);
    EXPECT_EQ(reports[0].held.values, held(variables[0]));
    EXPECT_EQ(told(reports[0]), "not acknowledged (no reply); the controller holds other values");
}

TEST_F(WritingTest, ARefusalIsSaidAndEndsTheWriting)
{
    writes.handle(1, [this](const QByteArray &request) { link.arrive(5ms, request.left(1) + bytes("FF 21")); });
    const auto reports = write({"5:100=1", "5:200=2"});
    EXPECT_EQ(resultsOf(reports), (Results{WriteResult::Refused, WriteResult::NotSent}));
    EXPECT_EQ(writes.sent(), 3) << "a refusal is one bit from an acknowledgement, so it is repeated";
    EXPECT_EQ(told(reports[0]), "refused by the controller");
    EXPECT_EQ(reports[0].held.values, held(variables[0]));
}

TEST_F(WritingTest, AControllerThatHoldsSomethingElseIsFoundOut)
{
    writes.handle(1, [this](const QByteArray &request) { link.arrive(5ms, request.left(1) + bytes("FF 20")); });
    const auto reports = write({"5:100=1"});
    EXPECT_EQ(reports[0].result, WriteResult::Different);
    EXPECT_EQ(reports[0].held.values, held(variables[0]));
    EXPECT_EQ(told(reports[0]), "written, but the controller holds other values");
}

TEST_F(WritingTest, ABroadcastIsSentAndNobodyKnowsMore)
{
    const auto reports = write({"5:100@0=1", "5:100@2=7"});
    EXPECT_EQ(resultsOf(reports), (Results{WriteResult::Unknown, WriteResult::Verified}));
    EXPECT_EQ(told(reports[0]), "sent, result not known");
}

TEST_F(WritingTest, AfterTheEndNothingMoreIsSent)
{
    writes.handle(2, [this](const QByteArray &) { link.endBy(nullptr, link.now() + 300ms); });
    const auto reports = write({"5:100=1", "5:200=2", "5:300=3"});
    EXPECT_EQ(resultsOf(reports), (Results{WriteResult::Written, WriteResult::Unknown, WriteResult::NotSent}));
    EXPECT_EQ(link.sent.size(), 2u);
    EXPECT_EQ(told(reports[0]), "written, but not read back: interrupted");
    EXPECT_EQ(told(reports[1]), "sent, result not known");
}

TEST_F(WritingTest, BeforeTheFirstNothingIsSentAfterTheEnd)
{
    link.endBy(nullptr, link.now());
    const auto reports = write({"5:100=1", "5:200=2"});
    EXPECT_EQ(resultsOf(reports), (Results{WriteResult::NotSent, WriteResult::NotSent}));
    EXPECT_TRUE(link.sent.empty());
}

TEST_F(WritingTest, AHangUpIsReadBackOnceTheLinkIsThereAgain)
{
    writes.handle(1, [this](const QByteArray &request) {
        link.controller.answer(request);
        link.cut();
        link.refusals = 2;
    });
    const auto reports = write({"5:100=1", "5:200=2"});
    EXPECT_EQ(resultsOf(reports), (Results{WriteResult::Unknown, WriteResult::NotSent}));
    EXPECT_EQ(writes.sent(), 1);
    EXPECT_EQ(told(reports[0]), "sent, result not known; the controller holds the new values");
}

TEST_F(WritingTest, AHangUpThatLastsLeavesTheResultOpen)
{
    writes.handle(1, [this](const QByteArray &) {
        link.cut();
        link.refusals = 1000000;
    });
    const Time start = link.now();
    const auto reports = write({"5:100=1", "5:200=2"});
    EXPECT_EQ(resultsOf(reports), (Results{WriteResult::Unknown, WriteResult::NotSent}));
    EXPECT_EQ(writes.sent(), 1);
    EXPECT_EQ(reports[0].held.quality, Quality::Unknown);
    EXPECT_LT(link.now() - start, Patience + 2s);
}

} // namespace
