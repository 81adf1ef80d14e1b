// Bubble_Sort: rising addresses, equal ones in their old order.
#include "lists/blocks.h"

#include <climits>
#include <random>

namespace
{

class Sort : public DriverTest
{
protected:
    /// Sorts variables with these addresses, each marked by its old place; gives "address:old place ...".
    static std::string sorted(const std::vector<int> &addresses)
    {
        QList<RW_VAR> list;
        for (size_t i = 0; i < addresses.size(); ++i) {
            RW_VAR var = variable(5, addresses[i], 1);
            var.hostAddr = int(i);
            list.append(var);
        }
        Bubble_Sort(&list);
        std::string text;
        for (const RW_VAR &var : list)
            text += (text.empty() ? "" : " ") + std::to_string(var.address) + ":" + std::to_string(var.hostAddr);
        return text;
    }
};

TEST_F(Sort, PutsAddressesInRisingOrder)
{
    EXPECT_EQ(sorted({30, 10, 20}), "10:1 20:2 30:0");
    EXPECT_EQ(sorted({5, 4, 3, 2, 1}), "1:4 2:3 3:2 4:1 5:0");
    EXPECT_EQ(sorted({1, 2, 3}), "1:0 2:1 3:2");
}

TEST_F(Sort, EqualAddressesKeepTheirOrder)
{
    EXPECT_EQ(sorted({7, 3, 7, 3, 7}), "3:1 3:3 7:0 7:2 7:4");
}

TEST_F(Sort, ComparesTheWholeRangeOfNumbers)
{
    EXPECT_EQ(sorted({INT_MAX, 0, INT_MIN, -1}), "-2147483648:2 -1:3 0:1 2147483647:0");
}

TEST_F(Sort, ShortListsAreLeftAlone)
{
    EXPECT_EQ(sorted({}), "");
    EXPECT_EQ(sorted({42}), "42:0");
    EXPECT_EQ(sorted({2, 1}), "1:1 2:0");
}

TEST_F(Sort, LooksAtTheAddressAlone)
{
    QList<RW_VAR> list = varList({variable(9, 5, 1, 9), variable(5, 5, 7, 1), variable(7, 4, 9, 200)});
    Bubble_Sort(&list);
    EXPECT_EQ(stationBlocks(list), "200/7@4+9 9/9@5+1 1/5@5+7");
}

TEST_F(Sort, MovesWholeRecords)
{
    QList<RW_VAR> list = varList({distinctVariable(5, 9, 2, 3), variable(6, 1, 1)});
    Bubble_Sort(&list);
    EXPECT_TRUE(sameVariable(list.at(1), distinctVariable(5, 9, 2, 3)));
}

TEST_F(Sort, AgreesWithAStableSortOnManyVariables)
{
    std::mt19937 random(1);
    std::vector<int> addresses(500);
    for (int &address : addresses)
        address = int(random() % 60);
    std::vector<int> order(addresses.size());
    for (size_t i = 0; i < order.size(); ++i)
        order[i] = int(i);
    std::stable_sort(order.begin(), order.end(),
                     [&](int a, int b) { return addresses[size_t(a)] < addresses[size_t(b)]; });
    std::string expected;
    for (int i : order)
        expected += (expected.empty() ? "" : " ") + std::to_string(addresses[size_t(i)]) + ":" + std::to_string(i);
    EXPECT_EQ(sorted(addresses), expected);
}

TEST_F(Sort, ANullListIsHarmless)
{
    Bubble_Sort(nullptr);
    SUCCEED();
}

} // namespace
