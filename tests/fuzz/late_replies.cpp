// The questions that a station may still answer, beside a plain list of what happened.
#include "questions.h"

using namespace fgs;
using fuzz::Input;
using fuzz::Question;
using fuzz::require;

namespace
{

class Record
{
public:
    void expect(const Question &question, Time until)
    {
        late.expect(question.request, question.dataStarts, until);
        for (Open &each : open)
            if (each.question.request.frame == question.request.frame) {
                each.until = until;
                ++each.owed;
                return;
            }
        open.push_back({question, until, 1, false});
    }

    void write(const Question &question)
    {
        late.noteWrite(question.request);
        for (Open &each : open)
            each.beforeWrite =
                each.beforeWrite || (each.question.station == question.station && !isSame(each, question));
    }

    /// Asks; an answer may come to what blocks.
    void ask(const Question &question, Time now, bool answer)
    {
        forget(now);
        const LateReplies::Question *const found = late.blocking(question.request, now);
        const auto first =
            std::find_if(open.begin(), open.end(), [&](const Open &each) { return blocks(each, question); });
        require((found != nullptr) == (first != open.end()), "blocks, or does not");
        if (!found)
            return;
        require(found->request.frame == first->question.request.frame && found->owed == first->owed &&
                    found->until == first->until && found->dataStarts == first->question.dataStarts,
                "another question blocks");
        if (answer) {
            late.answered(found);
            --first->owed;
        }
    }

private:
    struct Open {
        Question question;
        Time until;
        int owed;
        bool beforeWrite;
    };

    static bool isSame(const Open &each, const Question &question)
    {
        return each.question.request.frame == question.request.frame;
    }
    static bool blocks(const Open &each, const Question &question)
    {
        return answerAlike(each.question, question) && (each.beforeWrite || !isSame(each, question));
    }
    void forget(Time now)
    {
        open.erase(std::remove_if(open.begin(), open.end(),
                                  [now](const Open &each) { return each.until <= now || each.owed == 0; }),
                   open.end());
    }

    LateReplies late;
    std::vector<Open> open;
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    Input input(bytes, size);
    std::vector<Question> questions;
    for (int count = input.between(1, 6); count > 0; --count)
        questions.push_back(anyQuestion(input));
    Record record;
    Time now(0);
    while (!input.isUsedUp()) {
        const Question &question = questions[input.below(questions.size())];
        now += Time(input.between(0, 15));
        switch (input.between(0, 2)) {
        case 0:
            record.expect(question, now + Time(input.between(0, 40)));
            break;
        case 1:
            record.write(question);
            break;
        default:
            record.ask(question, now, input.oneIn(2));
            break;
        }
    }
    return 0;
}
