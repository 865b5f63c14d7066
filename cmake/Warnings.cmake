# Every target of ours builds with these; a warning is a defect.
function(vimbo_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow=local
    -Wnon-virtual-dtor -Wold-style-cast -Wcast-qual -Woverloaded-virtual)
endfunction()
