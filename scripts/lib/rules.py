"""Rules for what a check may find: indented lines under the reason that they share."""

import re
import sys


def matches(pattern, text):
    """Returns whether the whole text matches the pattern, in which each * stands for any text."""
    return re.fullmatch(re.escape(pattern).replace(r"\*", ".*"), text) is not None


class Rule:
    """One line; `fields` are its parts, `covered` counts what it has excused."""

    def __init__(self, reason, line, fields):
        self.reason, self.line, self.fields, self.covered = reason, line.strip(), fields, 0

    def is_for(self, file):
        return matches(f"*/{self.fields['file']}", file)

    def is_unused(self):
        return self.covered == 0 and not self.reason.startswith("At times")


def read_rules(path, form):
    """Returns the rules of a file; `form` is a regular expression with a name for each part."""
    rules, reason = [], ""
    for line in path.read_text().splitlines():
        if line.startswith(" "):
            found = re.fullmatch(r"\s+" + form, line)
            if found is None:
                sys.exit(f"{path}: not in the form {form}: {line}")
            rules.append(Rule(reason, line, found.groupdict()))
        elif line and not line.startswith("#"):
            reason = line
    return rules
