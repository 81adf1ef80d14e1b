#include "display.h"

namespace fgs
{

namespace
{

class Lines : public Display
{
public:
    Lines(Format valueFormat, bool asJson) : format(valueFormat), json(asJson) {}

    Time pause() const override { return 10ms; }

    void show(const std::vector<Row> &rows, const Host &, Time elapsed, Time now) override
    {
        shown.resize(rows.size());
        for (std::size_t i = 0; i < rows.size(); ++i) {
            if (rows[i] == shown[i])
                continue;
            shown[i] = rows[i];
            print(rows[i], elapsed, now);
        }
    }

private:
    void print(const Row &row, Time elapsed, Time now) const
    {
        if (json) {
            QJsonObject object = rowJson(row, format, now);
            object[QStringLiteral("seconds")] = std::chrono::duration<double>(elapsed).count();
            printJson(object);
        } else {
            printLine(QStringLiteral("%1  %2").arg(seconds(elapsed), 9).arg(rowText(row, format)));
        }
    }

    const Format format;
    const bool json;
    std::vector<Row> shown; ///< a new row is one that was not asked for yet
};

} // namespace

std::unique_ptr<Display> makeLines(Format format, bool json)
{
    return std::make_unique<Lines>(format, json);
}

} // namespace fgs
