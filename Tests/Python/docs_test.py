"""The examples of docs/python.md give what they say."""

import doctest
import os
import re
import shutil
import unittest

import support

import mirel


class Docs(support.ModelTest):
    def test_examples(self):
        shutil.copytree(self.sample, self.scratch / "trolley")
        shutil.copy(support.SAMPLE, self.scratch / "trolley.step")
        before = os.getcwd()
        os.chdir(self.scratch)
        self.addCleanup(os.chdir, before)
        guide = (support.ROOT / "docs/python.md").read_text("utf-8")
        shared, examples, failures = {}, 0, []
        for block in re.findall(r"^```pycon\n(.*?)^```$", guide, re.DOTALL | re.MULTILINE):
            line = guide[: guide.index(block)].count("\n")
            test = doctest.DocTestParser().get_doctest(block, shared, "docs/python.md", "docs/python.md", line)
            runner = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS | doctest.NORMALIZE_WHITESPACE)
            said = []
            runner.run(test, out=said.append, clear_globs=False)
            failures += said
            shared = test.globs
            examples += runner.tries
        self.assertEqual(failures, [], "".join(failures))
        self.assertGreater(examples, 30)


if __name__ == "__main__":
    unittest.main()
