# The headers that nearly every source takes, parsed once for each library and once for all tests.
set(CORVANE_COMMON_HEADERS
  <QByteArray> <QDebug> <QDir> <QFile> <QFileInfo> <QObject> <QString> <QStringList> <QThread>
  <algorithm> <array> <chrono> <functional> <memory> <optional> <utility> <vector>)

# corvane_precompile(target [more headers])
function(corvane_precompile target)
  target_precompile_headers(${target} PRIVATE ${CORVANE_COMMON_HEADERS} ${ARGN})
endfunction()

# corvane_share_precompiled(target from): what `from` has parsed.
function(corvane_share_precompiled target from)
  target_precompile_headers(${target} REUSE_FROM ${from})
  # Nothing of Qt is in it but where a header has signals: to load the rest costs more than that.
  set_source_files_properties(
    ${CMAKE_CURRENT_BINARY_DIR}/${target}_autogen/mocs_compilation.cpp
    TARGET_DIRECTORY ${target} PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
endfunction()
