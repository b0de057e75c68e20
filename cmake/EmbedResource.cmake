# Turns a file into a C++ source that defines its bytes. Run with cmake -P and these definitions:
#   INPUT, OUTPUT  the file to read and the source to write
#   SYMBOL         name of the array; SYMBOL_len is its length
#   HEADER         the public header that declares it; without one it stays within the library
#   MODE           "translation": INPUT is a table of lines "key = keyword[, keyword]", embedded as a property list of
#                  keys to keywords, filled up with blanks to SIZE bytes and scrambled. Otherwise the bytes as they are.

cmake_minimum_required(VERSION 3.25)

# The table as an XML property list in `result`. Keys are compared without regard to case, so none may come twice.
function(translation_property_list table result)
  file(STRINGS ${table} lines REGEX "^[^#]")
  set(seen)
  set(xml "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n")
  foreach(line IN LISTS lines)
    if(NOT line MATCHES "^([^=]*[^= ]) = ([^=]+)$")
      message(FATAL_ERROR "${table}: not a line of the form \"key = keyword[, keyword]\": ${line}")
    endif()
    set(key "${CMAKE_MATCH_1}")
    string(REPLACE ", " ";" keywords "${CMAKE_MATCH_2}")
    string(TOLOWER "${key}" folded)
    if(folded IN_LIST seen)
      message(FATAL_ERROR "${table}: the key \"${key}\" stands twice")
    endif()
    list(APPEND seen "${folded}")

    string(REPLACE "&" "&amp;" key "${key}")
    string(APPEND xml "\t<key>${key}</key>\n\t<array>\n")
    foreach(keyword IN LISTS keywords)
      string(REPLACE "&" "&amp;" keyword "${keyword}")
      string(APPEND xml "\t\t<string>${keyword}</string>\n")
    endforeach()
    string(APPEND xml "\t</array>\n")
  endforeach()
  set(${result} "${xml}</dict>\n</plist>\n" PARENT_SCOPE)
endfunction()

# `text` followed by blanks, `size` bytes in all.
function(filled_up text size result)
  string(LENGTH "${text}" length)
  math(EXPR missing "${size} - ${length}")
  if(missing LESS 0)
    message(FATAL_ERROR "${INPUT}: ${length} bytes do not fit into ${size}")
  endif()
  string(REPEAT " " ${missing} blanks)
  set(${result} "${text}${blanks}" PARENT_SCOPE)
endfunction()

# Every byte of the hexadecimal `bytes` complemented, as scrambledResource() does.
function(scrambled bytes result)
  foreach(pair IN ITEMS 0f 1e 2d 3c 4b 5a 69 78)
    string(SUBSTRING ${pair} 0 1 low)
    string(SUBSTRING ${pair} 1 1 high)
    string(REPLACE ${low} "X" bytes "${bytes}")
    string(REPLACE ${high} ${low} bytes "${bytes}")
    string(REPLACE "X" ${high} bytes "${bytes}")
  endforeach()
  set(${result} "${bytes}" PARENT_SCOPE)
endfunction()

if(MODE STREQUAL "translation")
  translation_property_list(${INPUT} text)
  filled_up("${text}" ${SIZE} text)
  file(WRITE ${OUTPUT}.plain "${text}")
  file(READ ${OUTPUT}.plain bytes HEX)
  file(REMOVE ${OUTPUT}.plain)
  scrambled("${bytes}" bytes)
else()
  file(READ ${INPUT} bytes HEX)
endif()

string(LENGTH "${bytes}" digits)
math(EXPR length "${digits} / 2")
string(REGEX REPLACE "(................................)" "\\1\n" bytes "${bytes}")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
if(HEADER)
  set(declarations "#include \"${HEADER}\"\n")
else()
  set(declarations "#include <cstdint>

extern const unsigned char ${SYMBOL}[];
extern const uint32_t ${SYMBOL}_len;
")
endif()
file(WRITE ${OUTPUT} "// Made from ${INPUT}; changes here are lost.
${declarations}
const unsigned char ${SYMBOL}[] = {
${bytes}
};
const uint32_t ${SYMBOL}_len = ${length};
")
