if(ORV_SANITIZE)
    add_compile_options(-fsanitize=${ORV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g -O1)
    add_link_options(-fsanitize=${ORV_SANITIZE})
endif()
