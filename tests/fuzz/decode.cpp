// Any bytes in pieces, sent and received, on two lines: every byte is explained once and in its order, in words and
// as JSON.
#include "target.h"
#include "tools/fgs/explain.h"

#include <map>

using namespace fgs;
using fuzz::Input;
using fuzz::require;

namespace
{

formats::Direction directionOf(int number)
{
    return number == 0   ? formats::Direction::Unknown
           : number == 1 ? formats::Direction::Inbound
                         : formats::Direction::Outbound;
}

/// What was explained, by line.
using Explained = std::map<std::string, std::string>;

void collect(Explained &explained, const Transaction &transaction)
{
    require(transaction.request || !transaction.answers.empty(), "a transaction of nothing");
    std::string &bytes = explained[transaction.first().line];
    if (transaction.request)
        bytes += transaction.request->bytes;
    for (const Heard &heard : transaction.answers)
        bytes += heard.bytes;
    require(!explanationOf(transaction, "source").empty(), "no explanation");
    require(!lineOf(jsonOf(transaction, "source")).isEmpty(), "no JSON");
}

} // namespace

// Of each piece: its line, direction and length, whether it may be a part, then its bytes.
int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    Input input(bytes, size);
    Explained explained, given;
    Transactions transactions([&explained](const Transaction &each) { collect(explained, each); });
    std::int64_t time = 0;
    const int pieces = input.between(1, 20);
    std::string rest;
    std::vector<Record> records;
    for (int i = 0; i < pieces; ++i) {
        Record record;
        record.line = input.between(0, 1) ? "a" : "b";
        record.direction = directionOf(input.between(0, 2));
        record.mayBePart = input.between(0, 1) != 0;
        record.place = std::to_string(input.between(0, 63)); // its length, for now
        record.time = time += 1000;
        records.push_back(std::move(record));
    }
    rest = input.rest();
    for (Record &record : records) {
        const std::size_t length = std::min(rest.size(), std::size_t(std::stoi(record.place)));
        record.bytes = rest.substr(0, length);
        rest.erase(0, length);
        given[record.line] += record.bytes;
        transactions.take(std::move(record));
    }
    transactions.end();
    for (const auto &[line, content] : given)
        require(explained[line] == content, "bytes that are not explained, or not in their order");
    return 0;
}
