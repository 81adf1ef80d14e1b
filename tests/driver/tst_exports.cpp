// The library's face to the loader: its name, what it defines and what it needs. The build writes down the symbols
// that nm and readelf find in it.
#include "tarn_fgsseries.h"

#include <algorithm>
#include <dlfcn.h>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace
{

std::vector<std::string> lines(const std::string &path)
{
    std::ifstream file(path);
    EXPECT_TRUE(file.good()) << path;
    std::vector<std::string> all;
    for (std::string line; std::getline(file, line);)
        if (!line.empty())
            all.push_back(line);
    return all;
}

const char *const exportsFile = TARN_SOURCE_DIR "/abi/exports.txt";

bool startsWith(const std::string &text, const std::string &start)
{
    return text.compare(0, start.size(), start) == 0;
}

/// Marks that the linker sets itself, by default or on ARM.
const std::set<std::string> linkersOwn = {"_init",       "_fini",         "_edata",     "_end",   "__bss_start",
                                          "__bss_end__", "__bss_start__", "_bss_end__", "__end__"};

/// Names after the address and the type letter.
std::set<std::string> definedNames()
{
    std::set<std::string> names;
    for (const std::string &line : lines(TARN_DEFINED_SYMBOLS)) {
        std::istringstream fields(line);
        std::string address, type, name;
        fields >> address >> type >> std::ws;
        std::getline(fields, name);
        names.insert(name);
    }
    return names;
}

/// Memory functions of the C library, and their checked twins.
const std::set<std::string> memoryFunctions = {"memcpy",       "memmove",       "memset",      "memcmp",
                                               "__memcpy_chk", "__memmove_chk", "__memset_chk"};

/// What the compiler and the linker call for themselves: start and end of the library, stack protection, unwinding.
const std::set<std::string> toolChainsOwn = {"__cxa_finalize",           "__cxa_atexit",
                                             "__gmon_start__",           "__stack_chk_fail",
                                             "__stack_chk_guard",        "_ITM_deregisterTMCloneTable",
                                             "_ITM_registerTMCloneTable"};

/// A name with its version: of Qt Core, of the C++ runtime, of the ARM run-time library or one of those above.
bool mayBeNeeded(const std::string &symbol)
{
    const size_t at = symbol.find('@');
    const std::string name = symbol.substr(0, at);
    const std::string version =
        at == std::string::npos ? std::string() : symbol.substr(symbol.find_last_of('@') + 1);
    return startsWith(version, "Qt_") || startsWith(version, "GLIBCXX_") || startsWith(version, "CXXABI_") ||
           startsWith(version, "GCC_") || startsWith(name, "__aeabi_") || memoryFunctions.count(name) ||
           toolChainsOwn.count(name);
}

class Exports : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (std::string(TARN_SANITIZERS).size())
            GTEST_SKIP() << "the sanitizers add symbols of their own";
    }
};

TEST_F(Exports, AreTheseNamesAndNoOthers)
{
    std::set<std::string> defined = definedNames();
    for (const std::string &name : linkersOwn)
        defined.erase(name);
    const std::vector<std::string> list = lines(exportsFile);
    const std::set<std::string> expected(list.begin(), list.end());
    std::vector<std::string> missing, unknown;
    std::set_difference(expected.begin(), expected.end(), defined.begin(), defined.end(),
                        std::back_inserter(missing));
    std::set_difference(defined.begin(), defined.end(), expected.begin(), expected.end(),
                        std::back_inserter(unknown));
    EXPECT_EQ(missing, std::vector<std::string>());
    EXPECT_EQ(unknown, std::vector<std::string>());
}

TEST_F(Exports, NothingOfTheOperatingSystemIsNeeded)
{
    int needed = 0;
    for (const std::string &line : lines(TARN_UNDEFINED_SYMBOLS)) {
        std::istringstream fields(line);
        std::string type, symbol;
        fields >> type >> symbol;
        EXPECT_TRUE(mayBeNeeded(symbol)) << symbol;
        ++needed;
    }
    EXPECT_GT(needed, 10);
}

class Loading : public ::testing::Test
{
};

TEST_F(Loading, TheNameCarriesTheMajorVersion)
{
    std::vector<std::string> names;
    for (const std::string &line : lines(TARN_DYNAMIC_SECTION))
        if (line.find("(SONAME)") != std::string::npos)
            names.push_back(line.substr(line.find('[')));
    EXPECT_EQ(names, std::vector<std::string>{"[libTarnFGs.so.1]"});
}

TEST_F(Loading, EveryPlainNameIsFoundByTheLoader)
{
    void *library = dlopen(TARN_BINARY_DIR "/libTarnFGs.so.1", RTLD_NOW);
    ASSERT_NE(library, nullptr) << dlerror();
    int found = 0;
    for (const std::string &name : lines(exportsFile))
        if (name.find('(') == std::string::npos) {
            EXPECT_NE(dlsym(library, name.c_str()), nullptr) << name;
            ++found;
        }
    EXPECT_EQ(found, 13 + 8); // functions and globals
    EXPECT_EQ(dlsym(library, "PLC_driver"), static_cast<void *>(&PLC_driver));
    EXPECT_EQ(dlsym(library, "CurrentRWVar"), static_cast<void *>(&CurrentRWVar));
    EXPECT_EQ(dlsym(library, "CalCRC"), nullptr);
    dlclose(library);
}

} // namespace
