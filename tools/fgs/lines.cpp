#include "display.h"
#include "watch/csv.h"
#include "watch/json.h"
#include "watch/line_event_text.h"

namespace fgs
{

namespace
{

/// What needs no line.
Reading notAskedYet()
{
    Reading reading;
    reading.reason.kind = Reason::NotAskedYet;
    return reading;
}

class Lines : public Display
{
public:
    Lines(const std::vector<Tag> &theTags, const TextStyle &textStyle, const Link &theLink, LineTime when,
          bool withNotes)
        : tags(theTags), style(textStyle), link(theLink), time(when), notes(withNotes)
    {
    }

    void updated(const std::vector<Reading> &readings, const std::vector<std::size_t> &which) override
    {
        shown.resize(readings.size(), notAskedYet());
        for (std::size_t i : which)
            if (!readings[i].tellsSameAs(shown[i])) {
                shown[i] = readings[i];
                if (time == LineTime::Change)
                    print(tags[i], readings[i], link.now());
            }
        stdoutClosed = flushOutput() != 0;
    }

    void happened(const LineEvent &event) override
    {
        if (notes)
            printMessage(QStringLiteral("fgs: ") + textOf(event));
    }

    bool isDone() const override { return stdoutClosed; }

    void end() override
    {
        for (std::size_t i = 0; time == LineTime::End && i < shown.size(); ++i)
            print(tags[i], shown[i], link.now());
    }

protected:
    virtual void print(const Tag &tag, const Reading &reading, Time now)
    {
        printLine(QStringLiteral("%1  %2  %3  %4")
                      .arg(style.clock.text(now))
                      .arg(seconds(now - style.start), 9)
                      .arg(placeText(tag, style.isRemote), contentText(tag, reading, style)));
    }

    const std::vector<Tag> &tags;
    const TextStyle style;
    const Link &link;

private:
    const LineTime time;
    const bool notes;
    std::vector<Reading> shown = {};
    bool stdoutClosed = false;
};

class JsonLines : public Lines
{
public:
    using Lines::Lines;

    void happened(const LineEvent &event) override { printLine(lineOf(jsonOf(event, jsonStyle()))); }

protected:
    void print(const Tag &tag, const Reading &reading, Time now) override
    {
        Json json = jsonOf(tag, reading, jsonStyle(), now);
        json["seconds"] = secondsOf(now - style.start);
        printLine(lineOf(json));
    }

private:
    JsonStyle jsonStyle() const { return {style.format, style.clock, style.start, Time::max(), style.isRemote}; }
};

class CsvLines : public Lines
{
public:
    CsvLines(const std::vector<Tag> &theTags, const TextStyle &textStyle, const Link &theLink, LineTime when,
             bool withNotes)
        : Lines(theTags, textStyle, theLink, when, withNotes)
    {
        printCsv({csvHeader()});
    }

protected:
    void print(const Tag &tag, const Reading &reading, Time now) override
    {
        printCsv(csvRows(tag, reading, style.format, style.clock, now));
    }
};

} // namespace

std::unique_ptr<Display> makeLines(const std::vector<Tag> &tags, const TextStyle &style, const Link &link,
                                   LineForm form, LineTime time, bool notes)
{
    switch (form) {
    case LineForm::Json:
        return std::make_unique<JsonLines>(tags, style, link, time, notes);
    case LineForm::Csv:
        return std::make_unique<CsvLines>(tags, style, link, time, notes);
    case LineForm::Text:
        break;
    }
    return std::make_unique<Lines>(tags, style, link, time, notes);
}

} // namespace fgs
