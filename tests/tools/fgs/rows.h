// What fgs prints, taken apart.
#ifndef FGS_TESTS_ROWS_H
#define FGS_TESTS_ROWS_H

#include "programs.h"

#include <string>

using Texts = std::vector<std::string>;

/// A line of a variable: WALL  [SECONDS]  PLACE  KIND  WIRE  CONTENT. A test fails where a line is none.
struct Row {
    std::string wall, seconds, place, kind, wire, content;
};
Row rowOf(const QString &line);
std::vector<Row> rowsOf(const Result &result);

Texts placesOf(const Result &result);
Texts contentsOf(const Result &result);

/// The objects of variables; events and the summary are not among them.
std::vector<QJsonObject> readings(const Result &result);
/// The objects of events.
std::vector<QJsonObject> events(const Result &result);
/// A text of each object, "" where there is none.
Texts textsOf(const std::vector<QJsonObject> &objects, const char *name);
/// The values of an object as JSON has them: "1,2", "null".
std::string valuesOf(const QJsonObject &object);

/// Whether this is a wall-clock time with milliseconds and offset.
bool isWall(const QString &text);

#endif
