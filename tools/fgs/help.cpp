#include "help.h"

namespace fgs
{

namespace
{

struct Example {
    const char *command;
    const char *text;
};

const Example examples[] = {
    {"read",
     "  fgs read  /dev/ttyUSB0:19200,8E1 5:100x4 0:17@2     four words of station 1 and a bit of station 2\n"},
    {"write", "  fgs write tcp:192.168.0.9:5020 5:100=1,2,0x1F       three words, read back and compared\n"},
    {"poll", "  fgs poll  /dev/pts/3 5:100x10 5:20:f32 --interval 200   a live table, until q or Ctrl-C\n"},
};

const char *const Commands = R"(
fgs help COMMAND tells the arguments of one command.
)";

const char *const LinkForm = R"(
LINK is DEVICE[:BAUD[,8E1]] (without settings 19200,8E1) or tcp:HOST:PORT.
With --remote the far end serves links, told by LINKNO, from 0 to 255. Its replies repeat nothing of the request:
while a late one may still come, nothing is asked whose reply has the same length, so a short --late saves time.
)";

const char *const Variables = R"(
VAR is AREA:ADDRESS[xCOUNT][@STATION][:TYPE]. COUNT counts values of TYPE, or the words of a text.
Addresses and counts are never hexadecimal: 5:0x64 is 64 words from address 0.
Areas, and how their addresses are written:
  0 (read-only), 1          bits, octal
  2, 3, 4, 11               bits, decimal
  5, 6, 7, 8 (read-only),
  9, 12, 13                 words, decimal
  10                        double words, decimal
)";

const char *const Types = R"(
Types, where --format does not say enough:
  bit                       in areas of bits
  u16, s16, x16             words without and with a sign, and in hexadecimal
  u32, s32, x32, f32        double words, or two words with the low one first; f32 is single precision
  u32h, s32h, x32h, f32h    two words with the high one first
  text                      two characters a word, the first in the low byte; what is not printable ASCII is \xNN
)";

const char *const Assignments = R"(
ASSIGNMENT is VAR=VALUE[,VALUE...]; the count of its VAR may be left out. Values are decimal or, with 0x, hexadecimal.
With type text all behind = is one value; zeros fill it up to the count.
After an assignment that is refused or not acknowledged, no further one is sent.
)";

const char *const Keys = R"(
Keys in the live table: arrows, PgUp and PgDn, Home and End scroll; q ends.
)";

const char *const Codes = R"(
Data goes to stdout, messages and the summary to stderr.
Exit code: 0 ok, 1 other, 2 usage, 3 the link cannot be opened or was lost, 4 no reply, 5 refused by the controller,
6 bad reply, 7 the controller holds other values than were written, 8 some variables have no value or an old one,
130 after Ctrl-C, 143 after SIGTERM.
)";

} // namespace

std::string examplesOf(const std::string &command)
{
    std::string text = "Examples:\n";
    for (const Example &example : examples)
        if (command.empty() || command == example.command)
            text += example.text;
    return text + "\n";
}

std::string notesOf(const std::string &command)
{
    if (command.empty())
        return std::string(Commands) + Codes;
    return std::string(LinkForm) + Variables + Types + (command == "write" ? Assignments : "") +
           (command == "poll" ? Keys : "") + Codes;
}

} // namespace fgs
