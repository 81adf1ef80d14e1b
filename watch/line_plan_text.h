// What a plan of a line tells people, line by line, and programs.
#ifndef FGS_WATCH_LINE_PLAN_TEXT_H
#define FGS_WATCH_LINE_PLAN_TEXT_H

#include "json.h"
#include "line_plan.h"

#include <QtCore/QStringList>

namespace fgs
{

QStringList summaryLines(const LinePlan &plan);
// Each begins with an empty line. The tags are of the plan's variables, in their order.
QStringList blockLines(const LinePlan &plan, const std::vector<Tag> &tags);
QStringList requestLines(const LinePlan &plan);
/// At the usual speeds.
QStringList cycleLines(const LinePlan &plan, const LinePauses &pauses);

/// The members of the plan's object, up to the cycles at the usual speeds.
Json jsonOf(const LinePlan &plan, const std::vector<Tag> &tags, const LinePauses &pauses);

/// Of a number that is seldom no whole one.
QString countText(double number);
/// "3 blocks"
QString amountText(double number, const char *what);
/// "79.2"
QString millisecondsText(Time time);
/// "9600,8N1"
QString settingsText(const SerialAddress &address);

} // namespace fgs

#endif
