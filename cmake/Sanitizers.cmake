if(QUILLBAY_SANITIZE)
  set(flags -fsanitize=${QUILLBAY_SANITIZE})
  if(QUILLBAY_SANITIZE MATCHES undefined)
    # The check of virtual tables opens a pipe for each look; without a descriptor to be had it takes every object for
    # an invalid one, and several tests run out of descriptors on purpose.
    list(APPEND flags -fno-sanitize=vptr)
  endif()
  add_compile_options(${flags} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(${flags})
endif()
