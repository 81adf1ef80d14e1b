# The C++ blocks of a document, in their order, with its line numbers.
/^```cpp$/ { inside = 1; printf "#line %d \"%s\"\n", NR + 1, FILENAME; next }
/^```$/ { inside = 0 }
inside
