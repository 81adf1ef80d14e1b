#include "commands.h"
#include "explain.h"
#include "formats/pcapng_reader.h"
#include "formats/text_trace.h"
#include "input_file.h"
#include "signals.h"
#include "tools/console.h"
#include "tools/failure.h"

#include <algorithm>
#include <cctype>
#include <system_error>

namespace fgs
{

namespace
{

const char *const Remedy =
    "; give a pcapng file as fgs --trace writes it, lines of hexadecimal digits, what socat -x "
    "prints, or lines like (1700000000.000123) ttyUSB0 O 01FE01";

bool isHexDigit(char character)
{
    return std::isxdigit(static_cast<unsigned char>(character)) != 0;
}

/// Digits and what may stand between them: such an argument is no file.
bool isHex(const std::string &text)
{
    return std::any_of(text.begin(), text.end(), isHexDigit) &&
           text.find_first_not_of("0123456789abcdefABCDEFxX ,:-\t") == std::string::npos;
}

bool isOneByte(const std::string &text)
{
    return text.size() == 2 && isHexDigit(text[0]) && isHexDigit(text[1]);
}

/// Texts, whose first bytes say nothing of the kind of the file, are those without control characters there.
bool beginsLikeText(std::string_view beginning)
{
    return beginning != "\n\r\r\n" && std::all_of(beginning.begin(), beginning.end(), [](char character) {
               return static_cast<unsigned char>(character) < 0x7F && (character >= ' ' || std::isspace(character));
           });
}

/// Where explanations of one source go.
class Explainer
{
public:
    Explainer(std::string theSource, bool asJson)
        : source(std::move(theSource)), json(asJson), transactions([this](const Transaction &each) { print(each); })
    {
    }

    void take(Record record)
    {
        ++count;
        transactions.take(std::move(record));
    }
    void end() { transactions.end(); }
    std::uint64_t records() const { return count; }

private:
    void print(const Transaction &transaction) const
    {
        if (json)
            printLine(lineOf(jsonOf(transaction, source)));
        else
            printText(explanationOf(transaction, source));
    }

    const std::string source;
    const bool json;
    Transactions transactions;
    std::uint64_t count = 0;
};

Record recordOf(formats::TracedFrame frame)
{
    return {frame.interface->name,    frame.time,
            frame.direction,          std::move(frame.bytes),
            std::move(frame.comment), "offset " + std::to_string(frame.offset)};
}

Record recordOf(formats::TracedText text)
{
    return {std::move(text.lineName),
            text.time,
            text.direction,
            std::move(text.bytes),
            {},
            "line " + std::to_string(text.line),
            text.mayBePart};
}

template <typename Reader>
void readAll(Reader &reader, Explainer &explainer)
{
    while (auto read = reader.next())
        explainer.take(recordOf(std::move(*read)));
}

void tellOfForeign(const std::string &name, std::uint64_t packets)
{
    if (packets > 0)
        printMessage(QStringLiteral("fgs: %1: %2 packets of other protocols are passed over")
                         .arg(QString::fromStdString(name))
                         .arg(packets));
}

void readFile(InputFile &file, const std::string &name, Explainer &explainer)
{
    const bool isText = beginsLikeText(file.beginning(4));
    std::istream source(&file);
    if (isText) {
        formats::TextTraceReader reader(source);
        readAll(reader, explainer);
        return;
    }
    formats::PcapngReader reader(source);
    readAll(reader, explainer);
    tellOfForeign(name, reader.foreignPackets());
}

[[noreturn]] void fail(const std::string &name, const std::string &what)
{
    throw Failure(ExitOther, QString::fromStdString(name + ": " + what));
}

class Decoder
{
public:
    Decoder(const Options &theOptions, const Stop &theStop) : options(theOptions), stop(theStop) {}

    /// The exit code: that of the first input that went wrong. What could be explained has been printed before it
    /// is told.
    int run()
    {
        const std::vector<std::string> &inputs = options.inputs;
        for (std::size_t i = 0; i < inputs.size() && !isOver();)
            guarded([&] { isHex(inputs[i]) ? decodeArguments(i) : decodeFile(inputs[i++]); });
        if (inputs.empty())
            guarded([&] { decodeFile("-"); });
        return code;
    }

private:
    /// Nobody wants to know any more.
    bool isOver() const { return stop.isRequested() || flushOutput() != 0; }

    template <typename Decode>
    void guarded(Decode decode)
    {
        try {
            decode();
        } catch (const Failure &failure) {
            flushOutput();
            printMessage(QStringLiteral("fgs: ") + QString::fromStdString(failure.what()));
            code = code == ExitOk ? failure.code : code;
        }
    }

    /// All arguments with hexadecimal digits in a row, up to one that is none of bytes.
    void decodeArguments(std::size_t &i)
    {
        Explainer explainer({}, options.json);
        QString fault;
        while (i < options.inputs.size() && isHex(options.inputs[i]) && fault.isEmpty()) {
            const std::string place = "argument " + std::to_string(i + 1), text = takeArgument(i);
            try {
                explainer.take({{}, {}, formats::Direction::Unknown, formats::bytesOfHex(text), {}, place});
            } catch (const std::invalid_argument &error) {
                fault = QStringLiteral("%1, '%2': %3")
                            .arg(QString::fromStdString(place), QString::fromStdString(text),
                                 QString::fromUtf8(error.what()));
            }
        }
        explainer.end();
        if (!fault.isEmpty())
            throw Failure(ExitUsage, fault);
    }

    /// Those of a single byte each, in a row, are one stretch of bytes.
    std::string takeArgument(std::size_t &i) const
    {
        const std::vector<std::string> &inputs = options.inputs;
        std::string text = inputs[i++];
        for (const bool isRow = isOneByte(text); isRow && i < inputs.size() && isOneByte(inputs[i]); ++i)
            text += inputs[i];
        return text;
    }

    void decodeFile(const std::string &path)
    {
        const std::string name = path == "-" ? "standard input" : path;
        try {
            InputFile file(path, stop);
            decodeFile(file, name);
        } catch (const std::system_error &error) {
            fail("'" + path + "'",
                 "neither hexadecimal digits nor a file that can be opened: " + error.code().message());
        }
    }

    void decodeFile(InputFile &file, const std::string &name)
    {
        Explainer explainer(name, options.json);
        std::string fault;
        try {
            readFile(file, name, explainer);
        } catch (const formats::PcapngError &error) {
            fault = error.what();
        } catch (const formats::TextTraceError &error) {
            fault = error.what();
        }
        explainer.end();
        if (!file.fault().empty())
            fail(name, "cannot be read: " + file.fault());
        if (isOver())
            return;
        if (!fault.empty())
            fail(name, fault + (explainer.records() ? "" : Remedy));
        if (explainer.records() == 0)
            fail(name, std::string("nothing of this protocol is in it") + Remedy);
    }

    const Options &options;
    const Stop &stop;
    int code = ExitOk;
};

} // namespace

int decodeCommand(const Options &options, const Stop &stop)
{
    const int code = Decoder(options, stop).run();
    return stoppingSignal() ? ExitSignal + stoppingSignal() : code;
}

} // namespace fgs
