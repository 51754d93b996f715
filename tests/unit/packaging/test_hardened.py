"""The check of the shipped files' hardening finds each protection that is missing, and nothing in a file that has all."""
import pathlib
import subprocess
import sys

import pytest

CHECK = pathlib.Path(__file__).resolve().parents[3] / "tools/package/hardened"
SOURCE = r"""
#include <stdio.h>
int (*hook)(int);
int Shown(const char* a_Text, int a_Count) {
    char l_Text[64];
    snprintf(l_Text, sizeof(l_Text), "%s %d", a_Text, a_Count);
    printf(a_Text, a_Count);
    return hook(l_Text[0]);
}
"""
ALL = ["-O2", "-fPIC", "-shared", "-fstack-protector-strong", "-U_FORTIFY_SOURCE", "-D_FORTIFY_SOURCE=2", "-fcf-protection=full",
       "-Wl,-z,relro", "-Wl,-z,now", "-Wl,-z,noexecstack", "-Wno-format-security"]


def verdict(folder, *flags):
    """Exit status and words of the check about a library that was built with these flags."""
    source, library = folder / "shown.c", folder / "shown.so"
    source.write_text(SOURCE)
    subprocess.run(["gcc", *flags, "-o", library, source], check=True)
    answer = subprocess.run([sys.executable, CHECK, library], capture_output=True, text=True, check=False)
    return answer.returncode, answer.stdout.strip().removeprefix(f"{library}: ")


def test_a_file_with_every_protection_passes(tmp_path):
    assert verdict(tmp_path, *ALL) == (0, "hardened")


@pytest.mark.parametrize("flag, words", [
    ("-Wl,-z,norelro", "lacks full RELRO"),
    ("-Wl,-z,lazy", "lacks full RELRO"),
    ("-Wl,-z,execstack", "lacks a stack that is not executable"),
    ("-fno-stack-protector", "lacks stack protector"),
    ("-D_FORTIFY_SOURCE=0", "lacks fortified printf"),
    ("-fcf-protection=none", "lacks a landing pad in Shown"),
])
def test_a_missing_protection_is_named(tmp_path, flag, words):
    flags = [one for one in ALL if "FORTIFY" not in one] if "FORTIFY" in flag else ALL
    assert verdict(tmp_path, *flags, flag) == (1, words)


@pytest.mark.parametrize("flag, words", [
    ("-no-pie", "lacks position independence"),
    ("-fcf-protection=none", "lacks a landing pad in main"),
])
def test_what_a_program_lacks_is_named(tmp_path, flag, words):
    source, program = tmp_path / "main.c", tmp_path / "main"
    source.write_text(SOURCE + "int main(int a_Count, char** a_Texts) { return Shown(a_Texts[0], a_Count); }")
    flags = [one for one in ALL if one not in ("-fPIC", "-shared")]
    subprocess.run(["gcc", *flags, flag, "-o", program, source], check=True)
    answer = subprocess.run([sys.executable, CHECK, program], capture_output=True, text=True, check=False)
    assert (answer.returncode, answer.stdout) == (1, f"{program}: {words}\n")


def test_without_a_file_nothing_is_said_to_be_hardened():
    assert subprocess.run([sys.executable, CHECK], check=False).returncode == 1
