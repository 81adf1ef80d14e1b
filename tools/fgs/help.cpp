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
    {"read", "  fgs read  line.toml oven_temp 5:100                by name, from a file of named variables\n"},
    {"write", "  fgs write tcp:192.168.0.9:5020 5:100=1,2,0x1F       three words, read back and compared\n"},
    {"write", "  fgs write line.toml oven_sp=12.5                    in engineering units\n"},
    {"poll", "  fgs poll  /dev/pts/3 5:100x10 5:20:f32 --interval 200   a live table, until q or Ctrl-C\n"},
    {"poll", "  fgs poll  --stats --for 60 /dev/ttyUSB0 5:100        how long answers take\n"},
    {"poll", "  fgs poll  --csv --quiet /dev/ttyUSB0 5:100x2 > day.csv   each change, for a spreadsheet\n"},
    {"poll", "  fgs poll  line.toml                                 all that the file names\n"},
    {"plan", "  fgs plan  9600,8N1 5:100x4 5:120:f32 2:17x40        blocks, frames and cycle times of a list\n"},
    {"plan", "  fgs plan  line.toml --block 31                      the same of a file, with other blocks\n"},
    {"plan", "  fgs plan  --remote line.toml                        the same by remote frames\n"},
    {"decode", "  fgs decode 01FE0108026400AABE                       a frame, byte by byte\n"
               "  fgs decode line.pcapng                              a trace: each request with what came for it\n"
               "  socat -x ... 2>&1 | fgs decode                      what socat shows, while it comes\n"},
    {"scan", "  fgs scan  /dev/ttyUSB0                              speed, format and stations of a line\n"
             "  fgs scan  /dev/ttyUSB0 --stations 1-8 --dry-run     what that would try, and how long it takes\n"},
    {"doctor",
     "  fgs doctor /dev/ttyUSB0:9600,8N1 --station 1,2      what is wrong with the line, and what to do\n"},
};

const char *const Commands = R"(
fgs help COMMAND tells the arguments of one command.
)";

const char *const LinkForm = R"(
LINK is DEVICE[:BAUD[,8E1]] (without settings 19200,8E1) or tcp:HOST:PORT.
With --remote the far end serves links, told by LINKNO, from 0 to 255. Its replies repeat nothing of the request:
while a late one may still come, nothing is asked whose reply has the same length, so a short --late saves time.
)";

const char *const Files = R"(
FILE.toml names variables, for example
  link = "/dev/ttyUSB0:19200,8E1"
  [[group]]
  name = "oven"
  tag = [ { name = "oven_sp", variable = "5:101:s16", scale = 0.1, unit = "°C" } ]
Values are scaled then: value = raw * scale + offset. A written value has to fall on a step of the raw one.
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

const char *const ScanNotes = R"(
It listens first. Good frames of a host that is polling already tell settings and stations, and nothing is sent. If
nothing is heard, it reads one word of each station, never writes, and never asks all stations at once. A station counts
after two good answers. The device is nobody else's meanwhile, and afterwards is as it was.
Where the word looks like an echo of the question, the words beside it are read once, to know.
LIST is 1,2,7-9 for stations, 9600,19200 for speeds, 8E1,8N1 for formats.
)";

const char *const DoctorNotes = R"(
Each check has a line: ok, found with a remedy, or not checked with the reason. fgs doctor --list tells them all.
Nothing is sent but reads of one word, and nothing at all where another host is heard polling.
)";

const char *const Keys = R"(
Keys in the live table: arrows, PgUp and PgDn, Home and End scroll; e puts each value in a row of its own, r adds
the smallest, the mean and the largest since the start (of bits the share that is set), t the trend of the newest
16; q ends. Old values do not count. What the screen is too narrow for is left out, never cut.
)";

const char *const Inputs = R"(
INPUT is hexadecimal digits, the name of a file, or - for stdin. Arguments that can be digits are: write ./ in front of
the name of such a file. Arguments of one byte each, in a row, belong together. A file is
  pcapng                    as fgs --trace and fgs-sim --trace write it
  lines of digits           with "> " in front sent, with "< " received; otherwise the form of a frame tells
  what socat -x prints      with or without -v
  lines of the form         (1700000000.000123) ttyUSB0 O 01FE01...   O sent, I received
Empty lines and those that begin with # are passed over.
Exit code: 0 all is explained, 1 an input is damaged, cut off or of another kind, 2 usage, 130 after Ctrl-C, 143 after
SIGTERM. What could be explained is printed before.
)";

const char *const Codes = R"(
Data goes to stdout, messages and the summary to stderr.
Exit code: 0 ok, 1 other, 2 usage, 3 the link cannot be opened or was lost, 4 no reply, 5 refused by the controller,
6 bad reply, 7 the controller holds other values than were written, 8 some variables have no value or an old one,
9 fgs doctor has found something to mend, 130 after Ctrl-C, 143 after SIGTERM.
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
    if (command == "decode")
        return Inputs;
    if (command == "scan")
        return std::string(ScanNotes) + Codes;
    if (command == "doctor")
        return std::string(LinkForm) + DoctorNotes + Codes;
    return std::string(LinkForm) + Files + Variables + Types + (command == "write" ? Assignments : "") +
           (command == "poll" ? Keys : "") + Codes;
}

} // namespace fgs
