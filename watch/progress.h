// How far something is that takes long.
#ifndef FGS_WATCH_PROGRESS_H
#define FGS_WATCH_PROGRESS_H

#include <functional>

namespace fgs
{

/// What is under way, and the share of it that is done, 0..1, found out when it is asked for.
using ProgressHook = std::function<void(const char *what, const std::function<double()> &share)>;

} // namespace fgs

#endif
