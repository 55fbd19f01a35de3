# Makes a source that holds files as bytes:
#   cmake -D OUTPUT=FILE.cpp -D FOLDER=FOLDER -D NAMES=a.html,b.css -P EmbedPage.cmake
string(REPLACE "," ";" names "${NAMES}")
set(arrays "")
set(rows "")
foreach(name ${names})
    file(READ ${FOLDER}/${name} bytes HEX)
    string(LENGTH "${bytes}" digits)
    math(EXPR size "${digits} / 2")
    string(MAKE_C_IDENTIFIER "c_${name}" array)
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
    string(APPEND arrays "constexpr char ${array}[${size}] = {${bytes}};\n")
    string(APPEND rows "    if (name == \"${name}\")\n        return {${array}, sizeof ${array}};\n")
endforeach()
file(WRITE ${OUTPUT} "#include \"client/picture/PageParts.h\"

namespace
{
${arrays}} // namespace

std::string_view PagePart(std::string_view name) noexcept
{
${rows}    return {};
}
")
