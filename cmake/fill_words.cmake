# Fills the vocabulary into a template, for programs that cannot read the word lists themselves:
#
#     cmake -D template=FILE -D output=FILE -P cmake/fill_words.cmake
#
# A line "@tags:LINE@" of the template becomes LINE once for each tag in the order of the
# identifiers, with ID and WORD replaced; "@attributes:LINE@" and "@namespaces:LINE@" likewise.
cmake_minimum_required(VERSION 3.25)
set(lists ${CMAKE_CURRENT_LIST_DIR}/../tqamsg/vocabulary)

# entries(RESULT FILE FIRST): "ID WORD" for each word of the list; the first has identifier FIRST,
# unless the words stand with their identifiers.
function(entries result file first)
    file(STRINGS ${lists}/${file} lines REGEX "^TQA_WORD\\(")
    set(found "")
    foreach(line IN LISTS lines)
        if(line MATCHES "\\((.+), ([0-9]+)\\)")
            list(APPEND found "${CMAKE_MATCH_2} ${CMAKE_MATCH_1}")
        elseif(line MATCHES "\\((.+)\\)")
            list(APPEND found "${first} ${CMAKE_MATCH_1}")
        endif()
        math(EXPR first "${first} + 1")
    endforeach()
    list(SORT found COMPARE NATURAL)
    set(${result} "${found}" PARENT_SCOPE)
endfunction()

entries(attributes attribute_words.inc 101)
entries(namespaces namespace_words.inc 201)
entries(tags tag_words.inc 1001)

file(READ ${template} text)
foreach(family attributes namespaces tags)
    if(text MATCHES "@${family}:([^@\n]+)@\n")
        set(place "${CMAKE_MATCH_0}")
        set(line "${CMAKE_MATCH_1}")
        set(filled "")
        foreach(entry IN LISTS ${family})
            string(REGEX MATCH "^[0-9]+" id "${entry}")
            string(REGEX REPLACE "^[0-9]+ " "" word "${entry}")
            string(REPLACE ID "${id}" made "${line}")
            string(REPLACE WORD "${word}" made "${made}")
            string(APPEND filled "${made}\n")
        endforeach()
        string(REPLACE "${place}" "${filled}" text "${text}")
    endif()
endforeach()
file(WRITE ${output} "${text}")
