if(QUILLBAY_SANITIZE)
  add_compile_options(-fsanitize=${QUILLBAY_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${QUILLBAY_SANITIZE})
endif()
