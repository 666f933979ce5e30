#error "a public header of the library includes fmt, which a consumer need not have"
