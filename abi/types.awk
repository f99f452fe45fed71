# Reads what abidw writes and prints, in an order of its own, either
#
#   awk -v what=types -f types.awk HEADERS ABIXML
#       the classes and enumerations of the headers whose file names stand, one to a
#       line, in the file HEADERS;
#   awk -v what=functions -f types.awk HEADERS ABIXML
#       the exported functions, each as its return type, a tab and its symbol.
#
# abidw writes one element to a line. Types are told apart by hashes and may be named
# before they are described, so names are put in at the end.

function attribute(name,    at, rest) {
  at = index($0, " " name "='")
  if (at == 0) return ""
  rest = substr($0, at + length(name) + 3)
  rest = substr(rest, 1, index(rest, "'") - 1)
  gsub(/&lt;/, "<", rest)
  gsub(/&gt;/, ">", rest)
  gsub(/&amp;/, "\\&", rest)
  return rest
}

# A type by its hash, as it is written in C++.
function named(id) {
  if (!(id in form)) return "void"
  return (id in target ? named(target[id]) : "") form[id]
}

# A type by its name, or by what follows the name of another type.
function describe(words, isDerived,    id) {
  id = attribute("id")
  if (id in form) return
  form[id] = words
  if (isDerived) target[id] = attribute("type-id")
}

function enter(name) { scope[++depth] = name }

function scoped(name,    result, i) {
  result = ""
  for (i = 1; i <= depth; i++) if (scope[i] != "") result = result scope[i] "::"
  return result name
}

# What is said of `owner`, the public class or enumeration around this line, if there is one.
function line(kind, place, what) {
  lines[owner] = lines[owner] sprintf("\n  %s %-4s %s", kind, place, what)
}

FNR == NR { public[$0] = 1; next }

/<(class|union|enum)-decl / { full = scoped(attribute("name")) }
/<namespace-decl / { enter(attribute("name")) }
/<\/namespace-decl>/ { depth-- }

/<(class|union)-decl / {
  describe(full)
  isOpen = !/\/>$/
  isKept = (attribute("filepath") in public) && !/is-declaration-only='yes'/ && !(full in size)
  if (isKept) size[full] = attribute("size-in-bits") / 8 " bytes"
  if (isOpen) {
    enter(attribute("name"))
    owners[depth] = owner
    owner = isKept ? full : ""
  }
}
/<\/(class|union)-decl>/ { owner = owners[depth--] }

/<enum-decl / {
  describe(full)
  owners[depth + 1] = owner
  owner = ((attribute("filepath") in public) && !(full in size)) ? full : ""
  if (owner != "") size[owner] = "enumeration"
}
/<underlying-type / && owner != "" { line("type", "", "@" attribute("type-id")) }
/<enumerator / && owner != "" { line("value", attribute("value"), attribute("name")) }
/<\/enum-decl>/ { owner = owners[depth + 1] }

/<type-decl / {
  name = attribute("name")
  if (sub(/^unnamed-enum-underlying-type-/, "", name)) name = name " bits"
  describe(name)
}
/<typedef-decl / { describe(scoped(attribute("name"))) }
/<pointer-type-def / { describe("*", 1) }
/<reference-type-def / { describe(attribute("kind") == "rvalue" ? "&&" : "&", 1) }
/<qualified-type-def / {
  describe((/ const='yes'/ ? " const" : "") (/ volatile='yes'/ ? " volatile" : ""), 1)
}
/<array-type-def / { describe("[" attribute("size-in-bits") / 8 " bytes]", 1) }
/<function-type / { describe("function") }

/<base-class / && owner != "" {
  line("base", attribute("layout-offset-in-bits") / 8, "@" attribute("type-id"))
}
/<data-member / && owner != "" && !/ static='yes'/ {
  place = attribute("layout-offset-in-bits") / 8
  isMember = 1
}
/<var-decl / && isMember {
  line("at", place, "@" attribute("type-id") " " attribute("name"))
  isMember = 0
}
/<member-function / { slot = attribute("vtable-offset"); isDestructor = / destructor='yes'/ }
/<function-decl / {
  operation = attribute("mangled-name")
  symbol = attribute("elf-symbol-id")
  name = attribute("name")
}
/<return / && operation != "" {
  # Constructors and destructors have no type.
  if (symbol != "" && !isDestructor && name != scope[depth]) returned[symbol] = attribute("type-id")
  if (slot != "" && owner != "" && !isDestructor) {
    line("slot", slot, "@" attribute("type-id") " " operation)
  }
  if (slot != "" && owner != "" && isDestructor && !(owner in destructed)) {
    destructed[owner] = 1
    line("slot", "-", name)
  }
}
/<\/function-decl>/ { operation = "" }
/<\/member-function>/ {
  slot = ""
  isDestructor = 0
}

# Hashes stand as @hash in what is kept.
function resolved(what,    result, hash) {
  result = ""
  while (match(what, /@[0-9a-f]+/)) {
    hash = substr(what, RSTART + 1, RLENGTH - 1)
    result = result substr(what, 1, RSTART - 1) named(hash)
    what = substr(what, RSTART + RLENGTH)
  }
  return result what
}

# Sorts keys[1..count].
function sortKeys(count,    i, j, key) {
  for (i = 2; i <= count; i++) {
    key = keys[i]
    for (j = i - 1; j > 0 && keys[j] > key; j--) keys[j + 1] = keys[j]
    keys[j + 1] = key
  }
}

END {
  if (what == "functions") {
    for (symbol in returned) print named(returned[symbol]) "\t" symbol
    exit
  }
  count = 0
  for (type in size) keys[++count] = type
  sortKeys(count)
  for (i = 1; i <= count; i++) {
    type = keys[i]
    print type "  (" size[type] ")" resolved(lines[type])
  }
}
