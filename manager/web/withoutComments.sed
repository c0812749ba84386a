# Empties the lines of a module of the page that hold a comment and nothing else. They are a quarter of what a browser would be sent; the
# others keep their numbers.
/^ *\/\//s/.*//
/^ *\/\*\*.*\*\/$/s/.*//
/^ *\/\*\*/{
    /\*\//b
    :inside
    s/.*//
    n
    /\*\//!b inside
    s/.*//
}
