# What the host and the programs include most, compiled once for all of them. Each file includes what it uses all the same:
# the preset "analysis" compiles without this. Large headers that only some need would cost the others more than
# they save.
add_library(tarn_host_headers OBJECT host/headers.cpp)
tarn_host_language(tarn_host_headers)
target_link_libraries(tarn_host_headers PRIVATE ${TARN_QT_CORE})
target_precompile_headers(tarn_host_headers PRIVATE
  <algorithm> <chrono> <deque> <functional> <map> <memory> <mutex> <optional> <set> <sstream> <string> <vector>
  <QtCore/QString> <QtCore/QStringList>)
