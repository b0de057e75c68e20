# Compiles the files of this folder into the layer: property lists and text tables as they are, the search-key
# translation as a scrambled property list.
set(VESK_RESOURCE_FOLDER ${CMAKE_CURRENT_LIST_DIR})

# Adds `source` to the layer as the byte array `symbol`. Further arguments go to the script, such as -DMODE=… or, for an
# array that hosts may read, -DHEADER=… with the public header that declares it.
function(vesk_embed_resource source symbol)
  set(script ${PROJECT_SOURCE_DIR}/cmake/EmbedResource.cmake)
  set(output ${PROJECT_BINARY_DIR}/resources/${symbol}.cpp)
  add_custom_command(
    OUTPUT ${output}
    COMMAND ${CMAKE_COMMAND} -DINPUT=${VESK_RESOURCE_FOLDER}/${source} -DOUTPUT=${output} -DSYMBOL=${symbol} ${ARGN}
            -P ${script}
    DEPENDS ${VESK_RESOURCE_FOLDER}/${source} ${script}
    COMMENT "Embedding ${source}"
    VERBATIM)
  target_sources(vesk_resources PRIVATE ${output})
  set_source_files_properties(${output} PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
endfunction()

set(compiled_resources -DHEADER=VeskLoopManagement/resources/LCCompiledResources.h)
vesk_embed_resource(Keyword_Dictionary.plist Keyword_Dictionary_plist ${compiled_resources})
vesk_embed_resource(KeywordIds.plist KeywordIds_plist ${compiled_resources})
vesk_embed_resource(search-key-translation.txt additionalData_dat -DMODE=translation -DSIZE=56098 ${compiled_resources})
vesk_embed_resource(topper-filenames.txt topperFilenames_txt)
vesk_embed_resource(topper-repair-filenames.txt topperRepairFilenames_txt)
vesk_embed_resource(track-stack-filenames.txt trackStackFilenames_txt)
vesk_embed_resource(legacy-crates.txt legacyCrates_txt)
vesk_embed_resource(instrument-icons.txt instrumentIcons_txt)

target_compile_definitions(vesk_resources
                           PRIVATE VESK_CONTENT_IDENTIFIER_PREFIX="${VESK_CONTENT_IDENTIFIER_PREFIX}")
