# cmake -D SOURCE=.. -D VERSION=.. -P changelog.cmake: the changelog's newest entry is the project's version.
file(STRINGS ${SOURCE}/CHANGELOG.md headings REGEX "^## ")
list(GET headings 0 newest)
if(NOT newest MATCHES "^## ${VERSION}( |$)")
  message(FATAL_ERROR "CHANGELOG.md begins with '${newest}', but the version is ${VERSION}")
endif()
