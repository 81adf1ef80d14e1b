// A file, or the standard input, that is read from front to back.
#ifndef FGS_TOOL_INPUT_FILE_H
#define FGS_TOOL_INPUT_FILE_H

#include "host/stop.h"

#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

namespace fgs
{

/// It ends as well when the stop comes, and when the output takes nothing any more. Before it waits, what was
/// printed goes out: input may come live through a pipe.
class InputFile : public std::streambuf
{
public:
    /// "-" is the standard input. Throws std::system_error if it cannot be opened. The stop outlives it.
    InputFile(const std::string &path, const Stop &theStop);
    InputFile(const InputFile &) = delete;
    InputFile &operator=(const InputFile &) = delete;
    ~InputFile() override;

    /// The first bytes, at most so many; they are read again.
    std::string_view beginning(std::size_t count);
    /// Why it ended before its end; empty: it did not.
    const std::string &fault() const { return problem; }

protected:
    int_type underflow() override;

private:
    std::size_t fill(std::size_t from);

    const Stop &stop;
    const int fd;
    std::vector<char> buffer;
    std::string problem;
};

} // namespace fgs

#endif
