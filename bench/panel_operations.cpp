// The operations that need nothing but the driver: for counting instructions on a processor of another kind.
#include "operations.h"

namespace bench
{

Operations operations()
{
    Operations all = driverOperations();
    const Operations checks = checkOperations();
    all.insert(all.end(), checks.begin(), checks.end());
    return all;
}

} // namespace bench
