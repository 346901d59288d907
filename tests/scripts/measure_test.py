"""What the mutation check draws from a sample source, and what it leaves alone; how coverage is counted."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "scripts/measure"))

from coverage import Coverage, decisions, ranges  # noqa: E402
from mutants import drawn, mutants_of  # noqa: E402
from private_tree import PrivateTree  # noqa: E402
from suites import suite_names  # noqa: E402


def changes(text):
    return [(mutant.kind, mutant.original, mutant.replacement) for mutant in mutants_of("sample.cpp", text)]


class Drawing(unittest.TestCase):
    def test_a_comparison_moves_its_boundary_and_turns_round(self):
        self.assertEqual(changes("bool f(int a, int b) { return a < b; }"),
                         [("comparison", "<", "<="), ("comparison", "<", ">=")])
        self.assertEqual(changes("bool f(int a, int b) { return a != b; }"), [("comparison", "!=", "==")])

    def test_one_more_or_less_becomes_none(self):
        self.assertEqual(changes("int f(int a) { return a + 1; }"), [("off by one", "1", "0")])
        self.assertEqual(changes("int f(int a) { return a - 1u; }"), [("off by one", "1u", "0")])
        self.assertEqual(changes("int f(int a) { return a + 12 - 1.5 + -1; }"), [])

    def test_a_condition_is_negated_once(self):
        self.assertEqual(changes("void f() { if (ready()) return; }"), [("negation", "ready()", "!(ready())")])
        self.assertEqual(changes("void f() { if (!ready()) return; }"), [("negation", "!", "")])
        self.assertEqual(changes("void f() { while (a == b) a = next(); }"), [("comparison", "==", "!=")])
        self.assertEqual(changes("void f() { if (a && b) return; }"),
                         [("negation", "a && b", "!(a && b)"), ("logical", "&&", "||")])

    def test_a_call_whose_result_nobody_takes_is_dropped(self):
        self.assertEqual(changes("void f() { file.close(); }"), [("dropped call", "file.close()", "")])
        self.assertEqual(changes("void f() { Q_EMIT std::a::b(c(1), [] { return 2; })->d(); }"),
                         [("dropped call", "Q_EMIT std::a::b(c(1), [] { return 2; })->d()", "")])
        self.assertEqual(changes("void f() { if (x) g();\nelse h(); }"),
                         [("negation", "x", "!(x)"), ("dropped call", "g()", ""), ("dropped call", "h()", "")])

    def test_what_is_no_call_statement_is_kept(self):
        for text in ("int f() { return g(); }", "void f() { a = g(); }", "void f() { Type name(1); }", "void f() { throw g(); }",
                     "void f() { g()++; }", "void f() { delete g(); }"):
            self.assertEqual(changes(text), [], text)

    def test_comments_texts_and_directives_are_left_alone(self):
        text = ('// a < b\n/* a && b\n   c == d */\n#if A == 1 && \\\n    B == 2\n#endif\n'
                'const char *a = "x < y && \\" z == 1";\nconst char b = \'"\';\nauto c = R"(a < b " && c)";\n')
        self.assertEqual(changes(text), [])

    def test_angle_brackets_and_references_are_left_alone(self):
        self.assertEqual(changes("template <typename T, int n> void f(std::vector<T> &&v, QMap<int, QList<T>> &&m);"), [])

    def test_what_the_compiler_asserts_is_left_alone(self):
        self.assertEqual(changes("static_assert(sizeof(int) == 4 && 1 < 2, \"a\"); bool f() { return a == b; }"),
                         [("comparison", "==", "!=")])

    def test_a_mutant_tells_its_place_and_changes_nothing_else(self):
        text = "int f()\n{\n    return a\n           && b;\n}\n"
        (mutant,) = mutants_of("f.cpp", text)
        self.assertEqual((mutant.file, mutant.line, mutant.column), ("f.cpp", 4, 12))
        self.assertEqual(mutant.applied(text), text.replace("&&", "||"))

    def test_the_seed_alone_decides_the_order(self):
        sources = {"a.cpp": "bool f() { return a < b && c > d || e == f; }", "b.cpp": "void g() { h(); i(); }"}
        order = drawn(sources, 7)
        self.assertEqual(order, drawn(dict(reversed(sources.items())), 7))
        self.assertEqual(len(set(order)), 9)
        self.assertNotEqual(order, drawn(sources, 8))

    def test_every_source_of_the_library_offers_something(self):
        root = Path(__file__).resolve().parents[2] / "src"
        sources = {path.name: path.read_text() for path in root.rglob("*.cpp")}
        found = drawn(sources, 1)
        self.assertGreater(len(found), 1000)
        for mutant in found[:200]:
            self.assertEqual(sources[mutant.file][mutant.start:mutant.end], mutant.original)


class Reading(unittest.TestCase):
    def test_suites_are_read_from_a_listing(self):
        listing = "Plain.\n  First\n  Second\nTyped/0.  # TypeParam = double\n  First\nAll/Param.\n  First/0  # GetParam() = 1.\n"
        self.assertEqual(suite_names(listing), ["Plain", "Typed/0", "All/Param"])

    def test_ways_of_exceptions_are_no_decisions(self):
        def way(count, fallthrough=False, throw=False):
            return {"count": count, "fallthrough": fallthrough, "throw": throw}
        self.assertEqual(decisions([way(3, fallthrough=True), way(0, throw=True), way(2, fallthrough=True), way(1)]), [2, 1])

    def test_counts_of_suites_add_up(self):
        def line(number, count, *ways):
            return {"line_number": number, "count": count,
                    "branches": [{"count": way, "fallthrough": False, "throw": False} for way in ways]}
        coverage = Coverage()
        coverage.add_lines("a", "src/f.cpp", [line(1, 0), line(2, 3, 0, 3)])
        coverage.add_lines("b", "src/f.cpp", [line(1, 0), line(2, 1, 0, 1)])
        self.assertEqual(list(coverage.rows()), [("src/f.cpp", 1, 2, 1, 2)])
        self.assertEqual(coverage.suites["src/f.cpp"], {1: [], 2: ["a", "b"]})
        self.assertEqual(ranges(coverage.unreached("src/f.cpp")), "1")
        self.assertEqual(ranges([1, 2, 3, 7, 9, 10]), "1-3, 7, 9-10")


class Copying(unittest.TestCase):
    def test_the_copy_follows_the_checkout_which_stays_as_it_is(self):
        with tempfile.TemporaryDirectory() as scratch:
            root = Path(scratch, "root")
            (root / "src").mkdir(parents=True)
            (root / "src/a.cpp").write_text("a")
            (root / "src/b.cpp").write_text("b")
            subprocess.run(["git", "init", "-q"], cwd=root, check=True)
            tree = PrivateTree(root, Path(scratch, "private"))
            tree.update()
            tree.put("src/a.cpp", "changed")
            (root / "src/b.cpp").unlink()
            self.assertEqual((root / "src/a.cpp").read_text(), "a")
            tree.update()
            self.assertEqual((tree.sources / "src/a.cpp").read_text(), "a")
            self.assertFalse((tree.sources / "src/b.cpp").exists())


if __name__ == "__main__":
    unittest.main()
