# The tool's readers and writers of a message's forms, which fuzz/targets/tool_json.cpp opens.
set(tool_forms element hex json_reader json_writer message)
list(TRANSFORM tool_forms REPLACE ".+" "${PROJECT_SOURCE_DIR}/tools/\\0.cpp")
find_package(nlohmann_json REQUIRED)
