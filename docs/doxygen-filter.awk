# Makes the comments of the public headers readable to Doxygen: // above a declaration and // behind one. The first comment
# of a file is the file's, and "// ---- Name ----" a heading.
FNR == 1 && /^\/\/ / { print "/// \\file"; }
{ sub(/\r$/, "") }
/^ *\/\/ ---- / { print; next }
/^ *\/\/( |$)/ { sub(/\/\//, "///"); escaped(); next }
/[;,{}] +\/\/ / { at = match($0, /[;,{}] +\/\/ /); code = substr($0, 1, at); text = substr($0, at + RLENGTH); $0 = code " ///< " text; escaped(); next }
{ print }
function escaped() {
    gsub(/</, "\\&lt;"); sub(/\/\/\/&lt;/, "///<"); gsub(/@/, "\\@")
    if ($0 !~ /^ *\/\/\/ ##? /) gsub(/#/, "\\#")  # a heading inside a comment stays one
    print
}
