"""The small faults of scripts/mutate: their possible positions in a C++ source, and their results.

It reads tokens, not C++: a place that only looks like a comparison or a statement gives a source that doesn't compile,
and scripts/mutate takes another one.
"""
import collections
import re

# A fault: source[start:end] becomes `text`.
Change = collections.namedtuple("Change", "kind line start end text")
Token = collections.namedtuple("Token", "kind text start end inside")

TOKEN = re.compile(
    r"""(?P<blank>\s+|//[^\n]*|/\*.*?\*/)
      | (?P<raw>(?:u8|[uUL])?R"(?P<mark>[^()\\\s]{0,16})\(.*?\)(?P=mark)")
      | (?P<string>(?:u8|[uUL])?"(?:\\.|[^"\\\n])*")
      | (?P<char>(?:u8|[uUL])?'(?:\\.|[^'\\\n])+')
      | (?P<number>\d(?:[\w.]|'\w)*)
      | (?P<word>[A-Za-z_]\w*)
      | (?P<sign><=>|<<=|>>=|\.\.\.|::|->|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|.)""",
    re.S | re.X)
DIRECTIVE = re.compile(r"^[ \t]*#(?:[^\n]*\\\n)*[^\n]*", re.M)
CLOSING = {"(": ")", "[": "]", "{": "}"}

SWAPPED = {"==": ["!="], "!=": ["=="], "<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"],
           "&&": ["||"], "||": ["&&"], "+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"], "&": ["|"], "|": ["&"],
           "<<": [">>"], ">>": ["<<"], "+=": ["-="], "-=": ["+="], "|=": ["&="], "&=": ["|="]}
COMPARISONS = {"==", "!=", "<", "<=", ">", ">="}
WORDS = {"true": "false", "false": "true", "min": "max", "max": "min"}
# The token after the first name of a statement; in a declaration another name follows.
AFTER_NAME = {"(", ".", "->", "[", "=", "+=", "-=", "*=", "|=", "&=", "^=", "<<=", ">>=", "++", "--"}
NOT_A_NAME = {"if", "for", "while", "switch", "do", "else", "case", "default", "using", "typedef", "template", "static",
              "const", "constexpr", "auto", "namespace", "class", "struct", "enum", "union", "public", "private",
              "protected", "friend", "extern", "try", "catch", "goto", "static_assert", "assert", "delete", "operator"}
# Without these a program is only slower or larger.
HARMLESS = re.compile(r"\.(reserve|shrink_to_fit)\(|^static_cast<void>|^\(void\)|^std::ignore|= (default|delete);$")


def read(source):
    """The tokens, each with the index of the bracket that it is inside of (None outside of all)."""
    source = DIRECTIVE.sub(lambda found: " " * len(found[0]), source)
    tokens, brackets = [], []
    for found in TOKEN.finditer(source):
        kind, text = found.lastgroup, found[0]
        if kind == "mark":
            kind = "raw"
        if kind == "blank":
            continue
        if kind == "sign" and text in ")]}" and brackets:
            brackets.pop()
        tokens.append(Token(kind, text, found.start(), found.end(), brackets[-1] if brackets else None))
        if kind == "sign" and text in CLOSING:
            brackets.append(len(tokens) - 1)
    return tokens


def closing(tokens, opening):
    """The index of the bracket that closes the one at this index."""
    for index in range(opening + 1, len(tokens)):
        if tokens[index].text == CLOSING[tokens[opening].text] and tokens[index].inside == tokens[opening].inside:
            return index
    return None


def statement_end(tokens, start):
    for index in range(start, len(tokens)):
        if tokens[index].inside == tokens[start].inside and tokens[index].text == ";":
            return index
        if index > start and tokens[index].text == "}" and tokens[index].inside != tokens[start].inside and \
                (tokens[index].inside is None or tokens[index].inside < tokens[start].inside):
            return None
    return None


def begins_statement(tokens, index):
    token = tokens[index]
    if index == 0 or token.inside is None or tokens[token.inside].text != "{":
        return False
    return after_control(tokens, index) or tokens[index - 1].text in (";", "{", "}", ":", "else", "do")


def after_control(tokens, index):
    """Whether the bracket before this token is the condition of an if or of a loop."""
    if tokens[index - 1].text != ")":
        return False
    opening = max(i for i in range(index - 1) if tokens[i].text == "(" and tokens[i].inside == tokens[index - 1].inside)
    return tokens[opening - 1].text in ("if", "for", "while", "constexpr")


def ends_function(tokens, index):
    """Whether the last statement of a block is also the last one of a function."""
    block = tokens[index].inside
    return not (after_control(tokens, index) or tokens[index - 1].text == "else" or
                after_control(tokens, block) or tokens[block - 1].text in ("else", "do", ":", ";", "{", "}"))


def removed(tokens, index):
    """The end of the removable statement that begins here, or None."""
    token = tokens[index]
    if not begins_statement(tokens, index):
        return None
    if token.kind == "word" and token.text not in ("return", "throw", "break", "continue"):
        if token.text in NOT_A_NAME:
            return None
        after = index + 1
        while after + 1 < len(tokens) and tokens[after].text == "::":
            after += 2
        if tokens[after].text not in AFTER_NAME:
            return None
    elif token.text not in ("*", "++", "--", "return", "throw", "break", "continue"):
        return None
    end = statement_end(tokens, index)
    if end is None:
        return None
    # The last break of a switch changes nothing, and a function's last return can't be missing.
    if tokens[end + 1].text == "}" and (token.text == "break" or (token.text == "return" and ends_function(tokens, index))):
        return None
    return end


def ignored(tokens):
    """Indexes of tokens in static_assert, template parameters, attributes and names of operators."""
    found = set()
    for index, token in enumerate(tokens[:-1]):
        if token.text == "static_assert" and tokens[index + 1].text == "(":
            found.update(range(index, (closing(tokens, index + 1) or index) + 1))
        elif token.text == "template":
            end = next((i for i in range(index, len(tokens)) if tokens[i].text == ">"), index)
            found.update(range(index, end + 1))
        elif token.text == "[" and tokens[index + 1].text == "[":
            found.update(range(index, (closing(tokens, index) or index) + 1))
        elif token.text == "operator":
            found.update((index + 1, index + 2))
    return found


def other_number(text):
    """This whole number one higher and one lower; nothing for what isn't one or is the size of a buffer."""
    found = re.fullmatch(r"(0[xX][\da-fA-F']+|[\d']+)([uUlLzZ]*)", text)
    if not found:
        return []
    digits, suffix = found[1].replace("'", ""), found[2]
    octal = len(digits) > 1 and digits.isdigit() and digits[0] == "0"
    value = int(digits, 8 if octal else 0)
    if value >= 256 and value % 256 == 0:
        return []
    form = "0{:o}" if octal else "0x{:X}" if digits[:2] in ("0x", "0X") else "{}"
    return [form.format(other) + suffix for other in (value + 1, value - 1) if other >= 0]


def other_text(text):
    """This literal with one letter or digit in its middle replaced."""
    opening = text.index(text[-1]) + 1
    plain = re.sub(r"\\.", "  ", text)
    places = [i for i in range(opening, len(text) - 1) if plain[i].isascii() and plain[i].isalnum()]
    if not places:
        return []
    place = places[len(places) // 2]
    return [text[:place] + ("x" if text[place] != "x" else "y") + text[place + 1:]]


def changes(source):
    """All faults that can be planted in this source."""
    tokens = read(source)
    skipped = ignored(tokens)
    found = []

    def add(kind, first, last, text):
        start = tokens[first].start
        found.append(Change(kind, source.count("\n", 0, start) + 1, start, tokens[last].end, text))

    for index, token in enumerate(tokens[:-1]):
        if index in skipped:
            continue
        text, before, after = token.text, tokens[index - 1].text if index else "", tokens[index + 1].text
        # clang-format puts blanks round the operators with two sides, and round no bracket of a template.
        two_sides = source[token.start - 1:token.start].isspace() and source[token.end:token.end + 1].isspace()
        # Texts are joined by a plus; there is no minus for them.
        joins = text == "+" and "string" in (tokens[index - 1].kind, tokens[index + 1].kind)
        if token.kind == "sign" and two_sides and not joins:
            for other in SWAPPED.get(text, []):
                add("comparison" if text in COMPARISONS else "operator", index, index, other)
            if text == "?":
                add("condition", index, index, "&& false ?")
                add("condition", index, index, "|| true ?")
        elif text in ("++", "--"):
            add("operator", index, index, "--" if text == "++" else "++")
        elif text == "!" and not two_sides:
            add("condition", index, index, "")
        elif text in WORDS and (text in ("true", "false") or before == "::"):
            add("constant", index, index, WORDS[text])
        elif token.kind == "number" and "<<" not in (before, after):
            for other in other_number(text):
                add("constant", index, index, other)
        elif token.kind in ("string", "char") and before != "extern":
            for other in other_text(text):
                add("constant", index, index, other)
        elif text in ("if", "while") and after == "(":
            end = closing(tokens, index + 1)
            inner = [i for i in range(index + 2, end) if tokens[i].inside == index + 1]
            start = max([i + 1 for i in inner if tokens[i].text == ";"], default=index + 2)
            if not any(tokens[i].text == "=" for i in inner if i >= start) and start < end:
                add("condition", start, end - 1, f"!({source[tokens[start].start:tokens[end - 1].end]})")
        end = removed(tokens, index)
        if end is not None and not HARMLESS.search(source[token.start:tokens[end].end]):
            lines = source.count("\n", token.start, tokens[end].end)
            add("removal", index, end, ";" + "\n" * lines)
    return found


def describe(source, change):
    old = " ".join(source[change.start:change.end].split())
    new = " ".join(change.text.split())
    if change.kind == "removal":
        return f"removed: {old}"
    line = source[source.rfind("\n", 0, change.start) + 1:(source + "\n").index("\n", change.end)]
    if change.kind == "condition" and new.startswith("!("):
        return f"negated: {old}"
    return f"{old or 'nothing'} -> {new or 'nothing'} in: {' '.join(line.split())}"


# Snippets of a function's body and their changes, for the self-test.
EXAMPLES = [
    ("if (a < b) return;", {"<=", ">=", "!(a < b)", ";"}),
    ("std::vector<int> list(k);", set()),
    ("foo(\"ab1\"); // foo(2) == 3", {";", '"ax1"'}),
    ("x = y ? 'c' : 0700;", {";", "&& false ?", "|| true ?", "'x'", "0701", "0677"}),
    ("for (int i = 5; i != n; ++i) go(i);", {"6", "4", "==", "--", ";"}),
    ("static_assert(sizeof(int) == 4); using A = B<1>;", {"2", "0"}),
    ("list.reserve(n); T x(a); T& y = z; auto f = [&] { g(); };", {";"}),
    ("switch (a) { case kA: f(); break; default: break; }", {";"}),
    ("while (!done) x += 65536; const char* t = R\"(a == 1)\";", {"!(!done)", "", "-=", ";"}),
    ("\n#if A == 1\n#endif\n/* a == 1 */ const auto v = !w && std::min(p, q);", {"", "||", "max"}),
]


def self_test():
    """The examples with another result."""
    wrong = []
    for text, wanted in EXAMPLES:
        source = "void f() {\n" + text + "\n}\n"
        got = {change.text for change in changes(source)}
        if got != wanted:
            wrong.append(f"{text}: {sorted(got)} instead of {sorted(wanted)}")
    return wrong
