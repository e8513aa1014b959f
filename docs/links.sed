# Turns the links of our pages to sources into links to the pages that Doxygen makes of them.
s|](\([a-z]*/\)\([a-z]*\.h\))|](@ref \2)|g
s|](\(\.\./\)*examples/\([a-z_]*\)\.cpp)|](\2_8cpp-example.html)|g
s|](tools/zk_settings/zk_settings\.1\.scd)|](@ref zk_settings)|g
