# Writes the manual page from the command's own help, so that the two cannot differ:
# cmake -DTDM=COMMAND -DOUTPUT=FILE -DVERSION=VERSION -P man_page.cmake

# Help as the page shows it: lines as they stand, nothing taken for a request or an escape.
function(append_help title)
    execute_process(COMMAND ${TDM} ${ARGN} --help OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
    string(REPLACE "\\" "\\e" text "${text}")
    string(REPLACE "-" "\\-" text "${text}")
    string(REGEX REPLACE "(^|\n)([.'])" "\\1\\\\&\\2" text "${text}")
    set(page "${page}.SH \"${title}\"\n.nf\n${text}.fi\n" PARENT_SCOPE)
endfunction()

set(page ".TH TDM 1 \"\" \"tdm ${VERSION}\" \"User Commands\"
.SH NAME
tdm \\- keep, compare and merge the versions of text files
.SH SYNOPSIS
.B tdm
.I COMMAND
[\\fIOPTIONS\\fR] \\fICONTAINER\\fR ...
")
append_help("DESCRIPTION")

execute_process(COMMAND ${TDM} --help OUTPUT_VARIABLE overview COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE ".*\nCommands:\n(.*)\n\nOptions:.*" "\\1" table "${overview}")
string(REGEX MATCHALL "(^|\n)  [a-z][a-z-]*" commands "${table}")
foreach(command IN LISTS commands)
    string(STRIP "${command}" command)
    append_help("tdm ${command}" ${command})
endforeach()
file(WRITE ${OUTPUT} "${page}")
