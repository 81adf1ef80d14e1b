#include "operations.h"

namespace bench
{

Operations operations()
{
    Operations all;
    for (auto some :
         {driverOperations, listOperations, checkOperations, hostOperations, libmodbusOperations, qtOperations}) {
        const Operations more = some();
        all.insert(all.end(), more.begin(), more.end());
    }
    return all;
}

} // namespace bench
