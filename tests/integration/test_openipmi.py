"""OpenIPMI's own programs on the simulated blade."""


def test_a_raw_command_goes_through(blade):
    done = blade.run("--", "openipmicmd", "-k", "0f 00 06 01", "smi", "0")
    assert done.stdout.startswith("0f 07 00 01 00 35 01 03 ")


def test_a_domain_opens_and_comes_fully_up(blade):
    shell = blade.start("--", "openipmish")
    shell.stdin.write("domain open d1 smi 0\n")
    lines = []
    while "Operation: Domain fully up" not in (line := shell.stdout.readline().strip()):
        assert line or lines.count("") < 200, lines
        lines.append(line)
    shell.stdin.close()
    shell.wait(60)
    assert "Any Connection Up: true" in lines
    assert "Name: d1(0.20)" in lines
