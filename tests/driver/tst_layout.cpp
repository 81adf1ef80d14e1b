// The layout of the records and of the driver object, as a host compiled elsewhere sees them.
#include "support/fixture.h"

namespace
{

/// Where a member starts, and where it ends.
struct Member {
    const char *name;
    size_t offset, size;
    size_t end() const { return offset + size; }
};

template <typename Record, typename Type>
Member member(const char *name, const Record &record, const Type &part)
{
    const auto start = reinterpret_cast<const char *>(&record);
    return {name, size_t(reinterpret_cast<const char *>(&part) - start), sizeof(Type)};
}

#define MEMBER(record, name) member(#name, record, (record).name)

/// Every member starts where the one before ends, but for the padding that its alignment asks for.
void expectInOrder(const std::vector<Member> &members, size_t recordSize)
{
    EXPECT_EQ(members.front().offset, 0u);
    for (size_t i = 1; i < members.size(); ++i) {
        EXPECT_GE(members[i].offset, members[i - 1].end()) << members[i].name;
        EXPECT_LT(members[i].offset - members[i - 1].end(), sizeof(void *)) << members[i].name;
    }
    EXPECT_GE(recordSize, members.back().end());
    EXPECT_LT(recordSize - members.back().end(), sizeof(void *));
}

/// Offsets on 32-bit and on 64-bit platforms; where they differ it is by pointers and their alignment.
struct Expected {
    size_t on32, on64;
    size_t here() const { return sizeof(void *) == 4 ? on32 : on64; }
};

void expectOffsets(const std::vector<Member> &members, const std::vector<Expected> &expected)
{
    ASSERT_EQ(members.size(), expected.size());
    for (size_t i = 0; i < members.size(); ++i)
        EXPECT_EQ(members[i].offset, expected[i].here()) << members[i].name;
}

class Layout : public ::testing::Test
{
protected:
    /// Strings, byte arrays and lists are one pointer in Qt 4 and 5, three in Qt 6.
    void SetUp() override
    {
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
        const ::testing::TestInfo *test = ::testing::UnitTest::GetInstance()->current_test_info();
        if (std::string(test->name()).find("Offsets") != std::string::npos)
            GTEST_SKIP() << "the strings and lists of Qt 6 have other sizes than those of Qt 4 and 5";
#endif
    }

    static std::vector<Member> variableMembers()
    {
        static const RW_VAR v;
        return {MEMBER(v, hostType),        MEMBER(v, hostAddr),    MEMBER(v, hostField3),
                MEMBER(v, remoteModeCopy),  MEMBER(v, linkNo),      MEMBER(v, result),
                MEMBER(v, text1),           MEMBER(v, addressText), MEMBER(v, areaType),
                MEMBER(v, address),         MEMBER(v, station),     MEMBER(v, length),
                MEMBER(v, remoteStoreMark), MEMBER(v, hostField14), MEMBER(v, data)};
    }

    static std::vector<Member> protocolMembers()
    {
        static const Protocol p;
        return {MEMBER(p, frame),   MEMBER(p, frameLen), MEMBER(p, replyLen), MEMBER(p, dataStart),
                MEMBER(p, dataLen), MEMBER(p, var),      MEMBER(p, spare)};
    }

    static std::vector<Member> extendMembers()
    {
        static const EXTENDVAR e;
        return {MEMBER(e, station), MEMBER(e, areaType), MEMBER(e, address), MEMBER(e, value)};
    }

    static std::vector<Member> hostMembers()
    {
        static const HOST_VAR h;
        return {MEMBER(h, areaType), MEMBER(h, station), MEMBER(h, address), MEMBER(h, length)};
    }

    static std::vector<Member> stateMembers()
    {
        const Tarn_FGsSeries &d = PLC_driver;
        return {MEMBER(d, settings),        MEMBER(d, ReadVarList),  MEMBER(d, WriteVarList),
                MEMBER(d, OnceReadVarList), MEMBER(d, SpareVarList), MEMBER(d, ProtocolList),
                MEMBER(d, ExtendVarList),   MEMBER(d, CallBackFunc), MEMBER(d, CallBackContext),
                MEMBER(d, ListMutex),       MEMBER(d, ImageMutex),   MEMBER(d, RetVar),
                MEMBER(d, CurrentSource),   MEMBER(d, WriteTimes),   MEMBER(d, OnceReadTimes),
                MEMBER(d, CycleReadCount),  MEMBER(d, CommFailFlag), MEMBER(d, spareFlag)};
    }

    static std::vector<Member> imageMembers()
    {
        const Tarn_FGsSeries &d = PLC_driver;
        return {MEMBER(d, ucArea0), MEMBER(d, ucArea1),  MEMBER(d, ucArea2),  MEMBER(d, ucArea11),
                MEMBER(d, ucArea4), MEMBER(d, ucArea3),  MEMBER(d, usArea8),  MEMBER(d, usArea9),
                MEMBER(d, usArea5), MEMBER(d, usArea12), MEMBER(d, usArea13), MEMBER(d, usArea7),
                MEMBER(d, usArea6), MEMBER(d, uiArea10)};
    }
};

TEST_F(Layout, MembersFollowEachOther)
{
    expectInOrder(variableMembers(), sizeof(RW_VAR));
    expectInOrder(protocolMembers(), sizeof(Protocol));
    expectInOrder(extendMembers(), sizeof(EXTENDVAR));
    expectInOrder(hostMembers(), sizeof(HOST_VAR));
    std::vector<Member> object = stateMembers();
    const std::vector<Member> image = imageMembers();
    object.insert(object.end(), image.begin(), image.end());
    expectInOrder(object, sizeof(Tarn_FGsSeries));
}

TEST_F(Layout, OffsetsOfAVariable)
{
    expectOffsets(variableMembers(), {{0, 0},
                                      {4, 4},
                                      {8, 8},
                                      {12, 12},
                                      {16, 16},
                                      {20, 20},
                                      {24, 24},
                                      {28, 32},
                                      {32, 40},
                                      {36, 44},
                                      {40, 48},
                                      {44, 52},
                                      {48, 56},
                                      {52, 60},
                                      {56, 64}});
    EXPECT_EQ(sizeof(RW_VAR), (Expected{60, 72}).here());
}

TEST_F(Layout, OffsetsOfARequest)
{
    expectOffsets(protocolMembers(), {{0, 0}, {4, 8}, {8, 12}, {12, 16}, {16, 20}, {20, 24}, {80, 96}});
    EXPECT_EQ(sizeof(Protocol), (Expected{92, 112}).here());
}

TEST_F(Layout, OffsetsOfAStoredValue)
{
    expectOffsets(extendMembers(), {{0, 0}, {4, 4}, {8, 8}, {12, 16}});
    EXPECT_EQ(sizeof(EXTENDVAR), (Expected{16, 24}).here());
}

TEST_F(Layout, OffsetsOfAHostVariable)
{
    expectOffsets(hostMembers(), {{0, 0}, {1, 1}, {4, 8}, {8, 16}});
    EXPECT_EQ(sizeof(HOST_VAR), (Expected{12, 24}).here());
}

TEST_F(Layout, OffsetsOfTheDriversState)
{
    expectOffsets(stateMembers(), {{0, 0},
                                   {4, 8},
                                   {8, 16},
                                   {12, 24},
                                   {16, 32},
                                   {20, 40},
                                   {24, 48},
                                   {28, 56},
                                   {32, 64},
                                   {36, 72},
                                   {40, 80},
                                   {44, 88},
                                   {104, 160},
                                   {108, 164},
                                   {112, 168},
                                   {116, 172},
                                   {120, 176},
                                   {121, 177}});
    EXPECT_EQ(sizeof(Tarn_FGsSeries), (Expected{25892, 25952}).here());
}

TEST_F(Layout, OffsetsOfTheImage)
{
    const size_t bits = (Expected{122, 178}).here();
    const size_t words = bits + 2664, doubles = words + 22080 + 2;
    std::vector<size_t> expected = {bits, bits + 256, bits + 512, bits + 2012, bits + 2152, bits + 2408};
    for (size_t wordsBefore : {0u, 256u, 512u, 10512u, 10520u, 10528u, 10784u})
        expected.push_back(words + 2 * wordsBefore);
    expected.push_back(doubles);
    const std::vector<Member> members = imageMembers();
    ASSERT_EQ(members.size(), expected.size());
    for (size_t i = 0; i < members.size(); ++i)
        EXPECT_EQ(members[i].offset, expected[i]) << members[i].name;
}

TEST_F(Layout, EveryAreaHasItsCapacity)
{
    const size_t sizes[] = {256, 256, 1500, 140, 256, 256, 512, 512, 20000, 16, 16, 512, 512, 1024};
    const std::vector<Member> members = imageMembers();
    for (size_t i = 0; i < members.size(); ++i)
        EXPECT_EQ(members[i].size, sizes[i]) << members[i].name;
}

TEST_F(Layout, SettingsAreTwentyWordsInTheirPlaces)
{
    EXPECT_EQ(sizeof(COMINFO), 80u);
    static const COMINFO c = COMINFO();
    const struct {
        Member member;
        size_t word;
    } rows[] = {
        {MEMBER(c, blockWords), 4},  {MEMBER(c, defaultStation), 6}, {MEMBER(c, retryLimit), 7},
        {MEMBER(c, retryCount), 8},  {MEMBER(c, stationMode), 9},    {MEMBER(c, status10), 10},
        {MEMBER(c, frameTotal), 11}, {MEMBER(c, frameDone), 12},     {MEMBER(c, status13), 13},
        {MEMBER(c, remoteMode), 14}, {MEMBER(c, localLinkNo), 15},   {MEMBER(c, writeMode), 16},
        {MEMBER(c, cycleDone), 17},  {MEMBER(c, hostHandle), 18},    {MEMBER(c, groupExtra), 19},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(row.member.offset, 4 * row.word) << row.member.name;
        EXPECT_EQ(row.member.size, 4u) << row.member.name;
    }
}

TEST_F(Layout, IntegersAreOfTheWidthsThatHostsExpect)
{
    EXPECT_EQ(sizeof(int), 4u);
    EXPECT_TRUE((std::is_same<decltype(PLC_driver.CommFailFlag), unsigned char>::value));
    EXPECT_TRUE((std::is_same<decltype(PLC_driver.spareFlag), unsigned char>::value));
    EXPECT_EQ(sizeof(PLC_driver.ListMutex), sizeof(QMutex));
    EXPECT_EQ(alignof(decltype(PLC_driver.ListMutex)), alignof(QMutex));
    EXPECT_EQ(sizeof(iRet_ValidLen), 24u);
    EXPECT_EQ(sizeof(iRet_ValidStar), 24u);
}

} // namespace
