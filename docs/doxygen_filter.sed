# Turns the headers' plain comments into Doxygen's.
# The first comment of a file is about the file; headings between dashes are nobody's.
1s|^/\*$|/** \\file|
1s|^/\* |/** \\file\n * |
1s|^// |/// \\file\n/// |
/^\/\* -{4}/b
s|^/\*( .*)?$|/**\1|
s|^( *)//( .*)?$|\1///\2|
# Behind a declaration: about that declaration.
s|([;,}{] +)/\* |\1/**< |
s|([;,] +)// |\1///< |
# Arguments: their names, then at least two blanks.
s|^ \* ([a-z][A-Za-z]*(, [a-z][A-Za-z]*)*)  +| * \\param \1 |
/^ \* \\param /{
:list
s|^( \* \\param [A-Za-z,]*), ([a-z])|\1,\2|
t list
}
# Tables and examples, which are indented further than the text, keep their lines; numbered lists stand in line.
s,^( \*|///)(   +[^ ]),\1      \2,
s|^ \*  ([0-9]\. )| * \1|
