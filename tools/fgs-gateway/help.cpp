#include "help.h"

namespace fgs
{

std::string examples()
{
    return R"(Examples:
  fgs-gateway --init /dev/ttyUSB0:19200,8E1 > press7.toml   a file to begin with
  fgs-gateway --check press7.toml                           what is wrong with it
  fgs-gateway --plan press7.toml                            cycle time, messages a second
  fgs-gateway --test press7.toml                            reads once, prints what it would publish
  fgs-gateway --doctor press7.toml                          what keeps broker and line from working
  fgs-gateway press7.toml                                   runs, until Ctrl-C or SIGTERM
  systemctl enable --now fgs-gateway@press7                 the same as a service, of /etc/fgs-gateway/press7.toml

)";
}

std::string notes()
{
    return R"(
The first Ctrl-C or SIGTERM ends with a farewell to the broker, a second one at once. After SIGHUP the file is read again:
what has changed takes effect; a file with faults is refused, and what was goes on.
fgs-gateway.toml(5) describes the file. Data goes to stdout, messages to stderr.
Exit code: 0 ok, 1 other, 2 usage or a fault of the file, 3 the link cannot be opened, 4 no reply, 5 refused by the
controller, 6 bad reply, 8 some variables have no value or an old one, 9 --doctor has found something to mend. After the
first signal a running gateway ends with 0, after a second one with 130 or 143, as --test and --doctor do.
)";
}

} // namespace fgs
