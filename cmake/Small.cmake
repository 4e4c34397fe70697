# The panel's memory is small. docs/panel.md has what each of these steps saves or costs.

include(CheckCXXCompilerFlag)

# Nobody puts a function of his own in the place of one of the module's, so that they may be called and inlined
# without the detour that would allow it. The panel's compiler may be too old to be told.
check_cxx_compiler_flag(-fno-semantic-interposition HAVE_NO_SEMANTIC_INTERPOSITION)

# keep_small(target): builds the target for speed, but without what makes code larger and no command faster.
# Nothing in a driver throws or catches, so no call needs code that cleans up behind it.
function(keep_small target)
  set(for_speed -O2 -fno-exceptions -fno-asynchronous-unwind-tables -fno-align-functions)
  if(HAVE_NO_SEMANTIC_INTERPOSITION)
    list(APPEND for_speed -fno-semantic-interposition)
  endif()
  target_compile_options(${target} PRIVATE "$<$<CONFIG:Release>:${for_speed}>")
  target_compile_definitions(${target} PRIVATE "$<$<CONFIG:Release>:QT_NO_EXCEPTIONS>")
endfunction()

# link_small(module): calls inside the module go straight to their target.
function(link_small module)
  target_link_options(${module} PRIVATE -Wl,-Bsymbolic-functions -Wl,--as-needed)
endfunction()
