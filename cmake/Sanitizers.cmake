# The sanitizer configuration: ASan (with LeakSanitizer) and UBSan, every finding fatal.
if(TARNWAVE_SANITIZE)
    set(_tarnwave_sanitize_flags
        -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_compile_options(${_tarnwave_sanitize_flags})
    add_link_options(${_tarnwave_sanitize_flags})
endif()
