# What `cmake --build BUILD --target uninstall` does: removes what the last installation of this build
# put there, and the folders that this leaves empty. Below /usr and /usr/local only our own folders
# go, the others belong to the system even when they are empty.
file(STRINGS ${build}/install_manifest.txt files)
file(READ ${build}/install_prefix.txt prefix)

set(folders "")
foreach(name IN LISTS files)
    set(file $ENV{DESTDIR}${name})
    if(EXISTS ${file} OR IS_SYMLINK ${file})
        message(STATUS "Removing ${file}")
        file(REMOVE ${file})
    endif()
    cmake_path(GET name PARENT_PATH folder)
    cmake_path(IS_PREFIX prefix ${folder} inside)
    while(inside AND NOT folder STREQUAL prefix)
        list(APPEND folders ${folder})
        cmake_path(GET folder PARENT_PATH folder)
    endwhile()
endforeach()

# What lies deeper comes behind its parent in the order of names.
list(REMOVE_DUPLICATES folders)
list(SORT folders ORDER DESCENDING)
foreach(folder IN LISTS folders)
    if(prefix MATCHES "^/usr(/local)?$" AND NOT folder MATCHES "/tqamsg(/|$)")
        continue()
    endif()
    file(GLOB content $ENV{DESTDIR}${folder}/*)
    if(NOT content)
        file(REMOVE_RECURSE $ENV{DESTDIR}${folder})
    endif()
endforeach()
