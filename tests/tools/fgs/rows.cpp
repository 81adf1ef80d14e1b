#include "rows.h"

#include <gtest/gtest.h>
#include <QtCore/QDateTime>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QRegularExpression>

namespace
{

const char RowForm[] = "^(\\S+)  +(?:([0-9]+\\.[0-9]{3})  +)?([0-9]\\S*)  +(bit|word|double word)  +"
                       "(wire (?:0x[0-9A-F]{2}|[0-9]+):[0-9]+(?:\\.\\.[0-9]+)?)  +(.*)$";

std::vector<QJsonObject> objectsWith(const Result &result, const char *name)
{
    std::vector<QJsonObject> wanted;
    for (const QJsonObject &object : result.objects())
        if (object.contains(QLatin1String(name)))
            wanted.push_back(object);
    return wanted;
}

} // namespace

bool isWall(const QString &text)
{
    static const QRegularExpression form(
        QStringLiteral("^[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}[+-][0-9]{2}:[0-9]{2}$"));
    return form.match(text).hasMatch() && QDateTime::fromString(text, Qt::ISODateWithMs).isValid();
}

Row rowOf(const QString &line)
{
    const QRegularExpressionMatch parts = QRegularExpression(QLatin1String(RowForm)).match(line);
    EXPECT_TRUE(parts.hasMatch() && isWall(parts.captured(1))) << "'" << line.toStdString() << "'";
    const auto part = [&parts](int i) { return parts.captured(i).toStdString(); };
    return {part(1), part(2), part(3), part(4), part(5), part(6)};
}

std::vector<Row> rowsOf(const Result &result)
{
    std::vector<Row> rows;
    for (const QString &line : result.lines())
        rows.push_back(rowOf(line));
    return rows;
}

Texts placesOf(const Result &result)
{
    Texts texts;
    for (const Row &row : rowsOf(result))
        texts.push_back(row.place);
    return texts;
}

Texts contentsOf(const Result &result)
{
    Texts texts;
    for (const Row &row : rowsOf(result))
        texts.push_back(row.content);
    return texts;
}

std::vector<QJsonObject> readings(const Result &result)
{
    return objectsWith(result, "variable");
}

std::vector<QJsonObject> events(const Result &result)
{
    return objectsWith(result, "event");
}

Texts textsOf(const std::vector<QJsonObject> &objects, const char *name)
{
    Texts texts;
    for (const QJsonObject &object : objects)
        texts.push_back(object.value(QLatin1String(name)).toString().toStdString());
    return texts;
}

std::string valuesOf(const QJsonObject &object)
{
    const QJsonValue values = object.value(QStringLiteral("values"));
    if (!values.isArray())
        return values.isNull() ? "null" : "missing";
    const QByteArray text = QJsonDocument(values.toArray()).toJson(QJsonDocument::Compact);
    return text.mid(1, text.size() - 2).toStdString();
}
