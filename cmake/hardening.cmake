# What makes a fault in the code harder to abuse; sanitizer builds look for the faults themselves.
if(NOT TOVELKARIN_SANITIZE AND NOT TOVELKARIN_FUZZ)
  add_compile_options(-fstack-protector-strong -fstack-clash-protection)
  if(CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
    add_compile_options(-fcf-protection)
  endif()
  # It needs an optimiser.
  add_compile_options($<$<CONFIG:Release,RelWithDebInfo>:-D_FORTIFY_SOURCE=2>)
  add_link_options(-Wl,-z,relro,-z,now,-z,noexecstack)
endif()
# The standard library checks its own contracts wherever speed is not what is looked at.
add_compile_options($<$<CONFIG:Debug>:-D_GLIBCXX_ASSERTIONS>)
