"""Compares counts of instructions with those of a file, or updates the file. scripts/instructions.sh calls it.

usage: instructions.py FILE COUNTS [--update]
"""

import sys

ALLOWED = 1.03
HEAD = """\
# Instructions of single calls, as callgrind counts them, and their allocations: scripts/instructions.sh compares, and
# updates with --update.
# Columns: the call; its count; where it grew by more than 3 % since, the count that is accepted and why.
"""


def read(path):
    """The lines `name: value`, and the rows by their name."""
    facts, rows = {}, {}
    with open(path, encoding="utf-8") as file:
        for line in file:
            words = line.split(maxsplit=3)
            if line.startswith("#") or not words:
                continue
            if words[0].endswith(":"):
                facts[words[0]] = line.split(maxsplit=1)[1].strip()
            else:
                rows[words[0]] = [int(words[1]), *map(int, words[2:3]), *(word.strip() for word in words[3:])]
    return facts, rows


def bound(row):
    """The count that a new one may reach: the accepted one when the row says why it is."""
    return ALLOWED * (row[1] if len(row) > 2 else row[0])


def updated(old, count):
    if old is None or count <= old[0]:
        return [count]
    if count <= bound(old):  # the smallest count remains, so that many small steps do not pass unseen
        return old
    return [old[0], count]


def write(path, facts, rows):
    with open(path, "w", encoding="utf-8") as file:
        file.write(HEAD)
        file.writelines(f"{name} {value}\n" for name, value in facts.items())
        file.writelines(" ".join(map(str, [name, *row])) + "\n" for name, row in rows.items())


def main(path, counts, *options):
    new_facts, new = read(counts)
    try:
        facts, rows = read(path)
    except FileNotFoundError:
        facts, rows = new_facts, {}
    if "--update" in options:
        same = facts == new_facts
        rows = {name: updated(rows.get(name) if same else None, row[0]) for name, row in new.items()}
        write(path, new_facts, rows)
        facts = new_facts
    if facts != new_facts:
        print("instructions: nothing compared: the counts of the file are for another machine")
        for name in facts:
            print(f"  {name} {facts[name]}, here {new_facts.get(name)}")
        return 0
    status = 0
    for name, (count, *_) in new.items():
        row = rows.get(name, [0])
        grown = count > bound(row)
        print(f"{name:28} {count:>10}  {count / row[0] if row[0] else 0:.3f} of {row[0]}"
              + ("  GREW by more than 3 %" if grown else ""))
        status |= grown
    if status:
        print(f"instructions: make it less, or run scripts/instructions.sh --update and write the reason into {path}")
    return int(status)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
