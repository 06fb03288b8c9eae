# Every target of ours is compiled with these; a warning is an error. psabi tells what compilers of
# 32-bit ARM once did otherwise.
add_library(corvane_warnings INTERFACE)
target_compile_options(corvane_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Werror
  $<$<COMPILE_LANGUAGE:CXX>:-Wno-psabi -Wnon-virtual-dtor -Woverloaded-virtual -Wextra-semi>)
target_compile_definitions(corvane_warnings INTERFACE
  QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_DEPRECATED_WARNINGS
  QT_DISABLE_DEPRECATED_BEFORE=0x050F00)
