// What bash and zsh make of the completions that fgs prints.
#include "programs.h"
#include "support/shell.h"
#include "support/temporary_folder.h"

#include <fstream>
#include <sstream>

namespace
{

using Words = std::vector<std::string>;

Words wordsIn(const std::string &text)
{
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

bool has(const Words &words, const char *word)
{
    return std::find(words.begin(), words.end(), word) != words.end();
}

class Completion : public ::testing::Test
{
protected:
    /// The path of the script for the shell.
    std::string scriptFor(const char *shell) const
    {
        const Result result = runFgs({QStringLiteral("--completion"), QLatin1String(shell)});
        EXPECT_EQ(result.code, 0);
        std::string path = folder.path.string() + "/" + shell;
        std::ofstream(path) << result.out.toStdString();
        return path;
    }

    /// What bash offers for the last word.
    Words offeredByBash(const std::string &words) const
    {
        std::string path = folder.path.string() + "/ask";
        std::ofstream(path) << "source " << scriptFor("bash") << "\nCOMP_WORDS=(" << words
                            << ")\nCOMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n_fgs\necho \"${COMPREPLY[*]}\"\n";
        return wordsIn(outputOf("bash -u " + path));
    }

    const TemporaryFolder folder;
};

TEST_F(Completion, BashKnowsTheCommands)
{
    EXPECT_EQ(offeredByBash("fgs po"), (Words{"poll"}));
    EXPECT_TRUE(has(offeredByBash("fgs ''"), "help"));
    EXPECT_EQ(offeredByBash("fgs help wr"), (Words{"write"}));
}

TEST_F(Completion, BashKnowsTheOptionsOfEachCommand)
{
    EXPECT_EQ(offeredByBash("fgs poll --interv"), (Words{"--interval"}));
    EXPECT_EQ(offeredByBash("fgs write --interv"), Words());
    EXPECT_EQ(offeredByBash("fgs read L 5:0 --cs"), (Words{"--csv"}));
}

TEST_F(Completion, BashKnowsTheValuesOfAnOption)
{
    EXPECT_EQ(offeredByBash("fgs poll --format h"), (Words{"hex"}));
    EXPECT_EQ(offeredByBash("fgs poll --show = t"), (Words{"trend"}));
    EXPECT_EQ(offeredByBash("fgs --completion z"), (Words{"zsh"}));
    EXPECT_EQ(offeredByBash("fgs poll --station ''"), Words());
    EXPECT_TRUE(has(offeredByBash("fgs poll --trace " + folder.path.string() + "/"),
                    (folder.path.string() + "/ask").c_str()));
}

/// Every option that the help names, and no other.
TEST_F(Completion, BashKnowsWhatTheHelpNames)
{
    for (const char *command : {"read", "write", "poll"}) {
        const Result help = runFgs({QStringLiteral("help"), QLatin1String(command)});
        Words expected{"--help"};
        for (const QString &line : help.lines()) {
            const Words words = wordsIn(line.toStdString());
            if (line.startsWith(QStringLiteral("  --")))
                expected.push_back(words[0]);
        }
        EXPECT_EQ(offeredByBash(std::string("fgs ") + command + " --"), expected);
    }
}

TEST_F(Completion, ZshCompletes)
{
    if (!isInstalled("zsh"))
        GTEST_SKIP() << "zsh is missing: apt-get install zsh";
    const std::string path = folder.path.string() + "/ask";
    std::ofstream(path)
        << "zmodload zsh/zpty\n"
           "export TERM=dumb\n"
           "zpty shell zsh -f -i\n"
           "zpty -w shell \"PS1=; autoload -Uz compinit; compinit -u -D; source "
        << scriptFor("zsh")
        << "; print rea''dy\"\n"
           "zpty -r shell seen '*ready*'\n"
           "for typed in $'fgs po\\t' $'--interv\\t' $'5 --form\\t' $'h\\t' ; zpty -w -n shell $typed\n"
           "zpty -r shell seen '*hex*'\n"
           "print -r -- $seen\n"
           "zpty -d shell\n";
    const std::string seen = outputOf("zsh -f " + path);
    EXPECT_NE(seen.find("poll"), std::string::npos) << seen;
    EXPECT_NE(seen.find("--interval"), std::string::npos) << seen;
    EXPECT_NE(seen.find("--format"), std::string::npos) << seen;
}

TEST_F(Completion, NamesTheShellsThatItKnows)
{
    const Result result = runFgs({QStringLiteral("--completion"), QStringLiteral("fish")});
    EXPECT_EQ(result.code, 2);
    EXPECT_NE(result.messages.indexOf(QStringLiteral("bash, zsh")), -1) << result.messages.toStdString();
}

} // namespace
