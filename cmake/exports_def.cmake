# cmake -D LINKED=<in> -D LIBRARY=<name of the DLL> -D WRITTEN=<out> -P exports_def.cmake: the list of exports that the linker
# wrote, as it is given to callers. The linker's has the numbers of this one link in it and leaves out whose exports they are.
file( STRINGS "${LINKED}" lines )
list( FILTER lines EXCLUDE REGEX "^EXPORTS" )
list( TRANSFORM lines REPLACE " @[0-9]+" "" )
list( JOIN lines "\n" text )
file( WRITE "${WRITTEN}" "LIBRARY ${LIBRARY}\nEXPORTS\n${text}\n" )
