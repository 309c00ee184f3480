#!/usr/bin/env python3
"""Makes the package and looks at it as its receiver would: package_test.py BUILD_FOLDER [unittest's arguments]

Unpacks it in a fresh Wine prefix, runs the demo host from there, and builds and runs programs against it alone. Needs a
display (DISPLAY), Wine, clang, lld and the test clips.
"""

import hashlib
import html.parser
import json
import os
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import unittest
import zipfile
from pathlib import Path
from urllib.parse import unquote

sys.dont_write_bytecode = True  # the checkout holds sources only
from pe import Image  # noqa: E402

ROOT = Path(__file__).resolve().parent.parent.parent
HERE = Path(__file__).resolve().parent
BUILD = None
CACHE = Path(os.environ.get("PELLORA_CACHE") or Path.home() / ".cache" / "pellora")
MOST_BYTES = 40 * 1000 * 1000
WINE = ROOT / "tools" / "wine64.sh"

OWN = {"Pellora.dll": "interface/Pellora.def", "Drovel.dll": "player/src/win/Kavun.def",
       "Selvikdcm.dll": "device/src/Selvikdcm.def"}
VERSIONED = {"Pellora.dll", "Corvane.dll", "Drovel.dll", "Selvikdcm.dll", "PelloraDemo.exe", "PelloraDiscover.exe"}
EXPECTED = [
    *(f"bin/{name}" for name in VERSIONED),
    *(f"bin/{name}" for name in ("Qt5Core.dll", "Qt5Gui.dll", "Qt5Widgets.dll", "platforms/qwindows.dll", "avcodec-61.dll",
                                 "avformat-61.dll", "avutil-59.dll", "swresample-5.dll", "swscale-8.dll", "liblog4cxx.dll",
                                 "libstdc++-6.dll", "libgcc_s_seh-1.dll", "libwinpthread-1.dll",
                                 "WidgetLayout/WidgetLayout.xml", "addon.log4cxx.properties")),
    *(f"include/{name}" for name in ("Pellora.h", "PelloraTypes.h", "Selvikdcm.h", "Kavun.h")),
    *(f"lib/{name}" for dll in ("Pellora", "Drovel", "Selvikdcm") for name in (f"lib{dll}.dll.a", f"{dll}.lib")),
    "lib/cmake/Pellora/PelloraConfig.cmake", "lib/cmake/Pellora/PelloraConfigVersion.cmake",
    "hosts/demo/main.c", "hosts/shell/README.md", "hosts/shell/index.html", "hosts/shell/page/app.js",
    "guide/index.html", "guide/host-guide.html", "guide/demo.png",
    "licences/SOURCES.txt", "licences/patches/ffmpeg-tls-certificates.patch",
    "licences/patches/ffmpeg-open-without-memory.patch",
    "LICENSE", "THIRD_PARTY.md", "CHANGELOG.md", "README.txt", "SHA256SUMS",
]


def project_version():
    return re.search(r"^project\(Pellora VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text("utf-8"), re.MULTILINE)[1]


def run(command, **more):
    """A command that must go well; its output is told if it does not."""
    done = subprocess.run([str(part) for part in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          stdin=subprocess.DEVNULL, check=False, **more)
    if done.returncode != 0:
        raise AssertionError(f"{command} ended with {done.returncode}:\n{done.stdout.decode(errors='replace')}")
    return done.stdout


def pack():
    """The two archives and the file with their sums."""
    run([ROOT / "tools" / "pack.sh", BUILD])
    name = f"pellora-{project_version()}-win64"
    return [BUILD / f"{name}.zip", BUILD / f"{name}-symbols.zip", BUILD / f"{name}.sha256"]


def contents(archive):
    with zipfile.ZipFile(archive) as opened:
        names = [name for name in opened.namelist() if not name.endswith("/")]
        top = archive.name.replace("-symbols", "")[:-len(".zip")] + "/"
        assert all(name.startswith(top) for name in names), names
        return {name[len(top):]: opened.read(name) for name in names}


def sha256(data):
    return hashlib.sha256(data).hexdigest()


def images(files):
    return {name: Image(data) for name, data in files.items() if name.endswith((".dll", ".exe"))}


class Made(unittest.TestCase):
    """What has the archives at hand. They are made once."""

    made = None

    @classmethod
    def setUpClass(cls):
        if not Made.made:
            run(["cmake", "--build", BUILD, "--target", "pellora_package"])
            Made.made = pack()
            Made.files = contents(Made.made[0])
            Made.symbols = contents(Made.made[1])


class Archive(Made):
    def test_holds_what_it_should(self):
        expected = [*EXPECTED]
        for line in (ROOT / "deps" / "licences.tsv").read_text("utf-8").splitlines():
            if line and not line.startswith("#"):
                expected.append("licences/" + line.split("\t")[2])
        for header in [*(ROOT / "interface").glob("Pellora*.h"), *(ROOT / "interface").glob("Pellora*.hpp")]:
            expected.append(f"include/{header.name}")
        for page in (ROOT / "docs").rglob("*.md"):
            expected.append(f"guide/{page.relative_to(ROOT / 'docs').with_suffix('.html').as_posix()}")
        self.assertEqual([], [name for name in expected if name not in self.files])

    def test_holds_a_licence_for_each_library_inside(self):
        folders = {name.split("/")[1] for name in self.files if name.startswith("licences/")}
        for recipe in (ROOT / "deps" / "recipes").glob("*.sh"):
            if recipe.stem not in ("common", "reproducible", "ffmpeg-components", "ffmpeg-native", "googletest", "benchmark"):
                self.assertIn(recipe.stem, folders)

    def test_is_below_40_MB(self):
        self.assertLess(self.made[0].stat().st_size, MOST_BYTES)

    def test_has_the_sums_of_all_that_is_inside(self):
        for files, name in ((self.files, "SHA256SUMS"), (self.symbols, "SHA256SUMS-symbols")):
            sums = dict(reversed(line.split("  ")) for line in files[name].decode().splitlines())
            self.assertEqual(sums, {path: sha256(data) for path, data in files.items() if path != name})

    def test_has_its_own_sum_beside_it(self):
        sums = dict(reversed(line.split("  ")) for line in self.made[2].read_text().splitlines())
        self.assertEqual(sums, {path.name: sha256(path.read_bytes()) for path in self.made[:2]})

    def test_has_the_symbols_apart(self):
        self.assertEqual({f"bin/{name}.debug" for name in VERSIONED} | {"SHA256SUMS-symbols"}, set(self.symbols))
        for name in VERSIONED:
            stripped = images(self.files)[f"bin/{name}"]
            kept = Image(self.symbols[f"bin/{name}.debug"])
            self.assertFalse([section for section, *_ in stripped.sections if section.startswith(".debug")])
            # A name of more than eight characters is a number of a table of names.
            self.assertIn(f"{name}.debug\0".encode(), self.files[f"bin/{name}"])
            self.assertGreater(len(kept.sections), len(stripped.sections))


class Guide(Made):
    def links(self, page):
        found = []

        class Reader(html.parser.HTMLParser):
            def handle_starttag(self, _tag, attributes):
                found.extend(value for name, value in attributes if name in ("href", "src"))

        Reader().feed(self.files[page].decode())
        return found

    def test_leads_only_to_what_is_there(self):
        followed = 0
        for page in [name for name in self.files if name.endswith(".html")]:
            for link in self.links(page):
                if "://" in link:
                    continue
                path, _, fragment = link.partition("#")
                target = os.path.normpath(os.path.join(os.path.dirname(page), unquote(path))) if path else page
                followed += 1
                self.assertTrue(any(name == target or name.startswith(target + "/") for name in self.files),
                                f"{page} leads to {link}")
                if fragment:
                    self.assertIn(f'id="{fragment}"', self.files[target].decode(), f"{page} leads to {link}")
        self.assertGreater(followed, 40)

    def test_leaves_no_marks_of_the_source(self):
        for page in [name for name in self.files if name.endswith(".html")]:
            text = re.sub(r"<pre>.*?</pre>", "", self.files[page].decode(), flags=re.DOTALL)
            self.assertIsNone(re.search(r"^(```|\| |- |#+ |\* )", text, re.MULTILINE), page)


class Sizes(Made):
    """docs/package.md tells users what to ship."""

    def test_are_those_that_users_are_told(self):
        text = (ROOT / "docs" / "package.md").read_text("utf-8")
        told = {name: float(size) for name, size in re.findall(r"^\| `([^`]+)` \| (\d+\.\d) \|", text, re.MULTILINE)}
        sizes = {name[len("bin/"):]: len(data) / 1e6 for name, data in self.files.items() if name.startswith("bin/")}
        self.assertEqual(set(sizes), set(told))
        for name, size in sizes.items():
            self.assertAlmostEqual(size, told[name], delta=0.1 + 0.2 * size, msg=name)
        shipped = sum(size for name, size in sizes.items() if not name.endswith(".exe"))
        self.assertAlmostEqual(shipped, float(re.search(r"two programs: (\d+) MB", text)[1]), delta=3)


class Version(Made):
    def test_is_told_by_each_file(self):
        version = project_version()
        numbers = (*(int(part) for part in version.split(".")), 0)
        for name in sorted(VERSIONED):
            file, product, texts = images(self.files)[f"bin/{name}"].version()
            self.assertEqual((numbers, numbers), (file, product), name)
            self.assertEqual({"FileVersion": version, "ProductVersion": version, "ProductName": "Pellora",
                              "OriginalFilename": name, "InternalName": name.rpartition(".")[0]},
                             {key: texts.get(key) for key in ("FileVersion", "ProductVersion", "ProductName",
                                                              "OriginalFilename", "InternalName")})
            self.assertIn("MIT License", texts["LegalCopyright"])
            self.assertTrue(texts["FileDescription"])

    def test_is_that_of_the_headers(self):
        text = self.files["include/PelloraTypes.h"].decode()
        self.assertIn(f'#define PELLORA_VERSION_TEXT "{project_version()}"', text)
        parts = re.findall(r"#define PELLORA_VERSION_(?:MAJOR|MINOR|PATCH) (\d+)", text)
        self.assertEqual(project_version().split("."), parts)


class Imports(Made):
    def allowed(self):
        lines = [line for line in (HERE / "windows7-imports.txt").read_text("utf-8").splitlines()
                 if line and not line.startswith("#")]
        found = {}
        dll = None
        for line in lines:
            if not line.startswith(" "):
                dll, _, line = line.partition(":")
            found.setdefault(dll, set()).update(line.split())
        return found

    def test_are_in_the_archive_or_in_windows_7(self):
        allowed = self.allowed()
        inside = {name.rpartition("/")[2].lower(): image for name, image in images(self.files).items()}
        missing = []
        for name, image in images(self.files).items():
            for dll, functions in image.imports().items():
                known = inside[dll].exports() if dll in inside else allowed.get(dll)
                if known is None:
                    missing.append(f"{name} needs {dll}, which is neither in the archive nor a library of Windows 7")
                else:
                    missing += [f"{name} needs {function} of {dll}" for function in sorted(functions - known)]
        self.assertEqual([], missing)

    def test_libraries_name_what_the_libraries_export(self):
        for dll, definition in OWN.items():
            listed = set((ROOT / definition).read_text("utf-8").split("EXPORTS", 1)[1].split())
            name = dll[:-len(".dll")]
            exported = images(self.files)[f"bin/{dll}"].exports()
            self.assertEqual(listed, exported & listed, dll)
            for library in (f"lib/lib{name}.dll.a", f"lib/{name}.lib"):
                data = self.files[library]
                self.assertIn(dll.encode(), data, library)
                for function in listed:
                    self.assertRegex(data, rb"(?<!\w)__imp_" + re.escape(function.encode()) + rb"\0", library)


class Reproducible(Made):
    def test_packs_the_same_bytes_twice(self):
        sums = [sha256(path.read_bytes()) for path in self.made]
        for path in (BUILD / "package").rglob("*"):
            if path.is_file() and path.suffix != ".made":
                os.utime(path)
        self.assertEqual(sums, [sha256(path.read_bytes()) for path in pack()])

    def test_writes_no_time_into_files(self):
        for name, image in images(self.files).items():
            if name.rpartition("/")[2] in ("libstdc++-6.dll", "libgcc_s_seh-1.dll", "libwinpthread-1.dll"):
                continue  # Debian's own, the same for all
            self.assertEqual({0}, {time for _, time in image.times()}, f"{name}: {list(image.times())}")

    def test_names_no_folder_of_the_machine(self):
        found = []
        for files in (self.files, self.symbols):
            for name, data in files.items():
                for folder in {str(ROOT), str(BUILD), str(CACHE)}:
                    for text in (f"{folder}/".encode(), f"{folder}/".encode("utf-16-le")):
                        at = data.find(text)
                        # Not the end of a longer path, as of a checkout at /src.
                        while at > 0 and re.match(rb"[\w./-]", data[at - 1:at]):
                            at = data.find(text, at + 1)
                        if at >= 0:
                            found.append(f"{name}: {data[at:at + 120]!r}")
        self.assertEqual([], found)

    def test_links_the_same_bytes_elsewhere(self):
        commands = run(["ninja", "-C", BUILD, "-t", "commands", "bin/Selvikdcm.dll"]).decode().splitlines()
        command = next(line for line in reversed(commands) if "-shared" in line)
        with tempfile.TemporaryDirectory(prefix="pellora-") as folder:
            # By the same names as seen from there: the linker derives the address of a DLL from the name that it is given.
            there = Path(folder)
            made = {"bin/Selvikdcm.dll", "lib/libSelvikdcm.dll.a"}
            for path in [*BUILD.iterdir(), *(BUILD / "lib").iterdir()]:
                name = path.relative_to(BUILD)
                if name.as_posix() not in made | {"bin", "lib"}:
                    (there / name).parent.mkdir(exist_ok=True)
                    (there / name).symlink_to(path)
            (there / "bin").mkdir()
            run(["sh", "-c", command], cwd=there)
            for name in made:
                self.assertEqual(sha256((BUILD / name).read_bytes()), sha256((there / name).read_bytes()), name)

    def test_compiles_the_same_bytes_elsewhere(self):
        entries = json.loads((BUILD / "compile_commands.json").read_text("utf-8"))
        entry = next(entry for entry in entries if entry["file"].endswith("/companion/OwnModule.cpp"))
        with tempfile.TemporaryDirectory(prefix="pellora-") as folder:
            other = Path(folder) / "another place" / "tree"
            shutil.copytree(ROOT / "companion", other / "companion")
            objects = []
            for root in (ROOT, other):
                command = entry["command"].replace(str(ROOT), shlex.quote(str(root)))
                words = shlex.split(command)
                target = Path(folder) / f"{len(objects)}.obj"
                words[words.index("-o") + 1] = str(target)
                where = root / BUILD.relative_to(ROOT)
                where.mkdir(parents=True, exist_ok=True)
                run(words, cwd=where, env=dict(os.environ, CCACHE_DISABLE="1"))
                objects.append(sha256(target.read_bytes()))
        self.assertEqual(objects[0], objects[1])


class Receiver(Made):
    """Everything happens in a Wine prefix in which nothing of this project is, at paths that programs stumble over."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.temporary = tempfile.TemporaryDirectory(prefix="pellora 包 ", dir=BUILD)
        cls.addClassCleanup(cls.temporary.cleanup)
        folder = Path(cls.temporary.name)
        prepared = run([ROOT / "tools" / "wine-prefix.sh"]).decode().strip()
        cls.prefix = folder / "新 prefix"
        run(["cp", "-a", "--reflink=auto", prepared, cls.prefix])
        (cls.prefix / ".lock").unlink(missing_ok=True)
        cls.home = cls.prefix / "drive_c" / "我的 视频 (x64)"
        cls.home.mkdir()
        with zipfile.ZipFile(cls.made[0]) as archive:
            archive.extractall(cls.home)
        cls.unpacked = next(cls.home.iterdir())
        cls.clip = cls.home / "影片 1.mp4"
        shutil.copyfile(ROOT / "build" / "media" / "h264.mp4", cls.clip)
        cls.environment = {name: value for name, value in os.environ.items()
                           if name not in ("WINEPATH", "PELLORA_BIN", "PELLORA_WINE_SERVER")}
        cls.environment.update(WINEPREFIX=str(cls.prefix), WINEDEBUG="-all", WINEDLLOVERRIDES="mscoree,mshtml=")

    def windows(self, path):
        return "C:\\" + str(Path(path).relative_to(self.prefix / "drive_c")).replace("/", "\\")

    def run_there(self, program, *arguments):
        """A program's exit status and what it said. It starts in the root of the drive, with no path but Windows' own."""
        with tempfile.TemporaryFile() as log:
            status = subprocess.run([ROOT / "tools" / "with-wine.sh", WINE, self.windows(program), *arguments],
                                    env=self.environment, cwd=self.prefix / "drive_c", stdout=log, stderr=subprocess.STDOUT,
                                    stdin=subprocess.DEVNULL, check=False, timeout=300).returncode
            log.seek(0)
            return status, log.read().decode(errors="replace")

    def build(self, name, source, rules, *compiler):
        """Configures and builds somebody's project, with what the unpacked package holds; the folder with the program."""
        project = self.home / name
        project.mkdir()
        shutil.copyfile(HERE / source, project / source)
        shutil.copyfile(HERE / rules, project / "CMakeLists.txt")
        folder = project / "build"
        run(["cmake", "-G", "Ninja", "-S", project, "-B", folder, "-DCMAKE_SYSTEM_NAME=Windows", *compiler,
             "-DCMAKE_SYSTEM_PROCESSOR=AMD64", "-DCMAKE_BUILD_TYPE=Release", f"-DCMAKE_PREFIX_PATH={self.unpacked}"])
        run(["cmake", "--build", folder])
        return folder

    def test_sees_the_demo_play(self):
        # It ends with 1 when nothing was shown in its time, which a busy machine may need more of.
        for seconds in ("4", "15", "60"):
            status, said = self.run_there(self.unpacked / "bin" / "PelloraDemo.exe", "--seconds", seconds,
                                          self.windows(self.clip))
            if status == 0:
                break
        self.assertEqual(0, status, said)

    def test_is_told_by_the_demo_what_does_not_play(self):
        broken = self.home / "坏.mp4"
        broken.write_bytes(b"no video at all")
        status, said = self.run_there(self.unpacked / "bin" / "PelloraDemo.exe", "--seconds", "4", self.windows(broken))
        self.assertEqual(1, status, said)

    def test_cannot_do_without_any_of_the_libraries(self):
        # What the list of imports says is true of the loader, too: one file less, and nothing starts.
        for library in ("avutil-59.dll", "Corvane.dll", "libwinpthread-1.dll"):
            here, away = self.unpacked / "bin" / library, self.home / library
            here.rename(away)
            try:
                status, said = self.run_there(self.unpacked / "bin" / "PelloraDemo.exe", "--seconds", "4",
                                              self.windows(self.clip))
            finally:
                away.rename(here)
            self.assertNotEqual(0, status, said)

    def test_builds_a_program_that_plays(self):
        folder = self.build("程序 one", "consumer.c", "consumer_project.cmake", "-DCMAKE_C_COMPILER=x86_64-w64-mingw32-gcc-posix")
        # Beside the program is all that it needs: the package itself may go.
        elsewhere = self.home / "gone"
        self.unpacked.rename(elsewhere)
        try:
            status, said = self.run_there(folder / "consumer.exe", self.windows(self.clip))
        finally:
            elsewhere.rename(self.unpacked)
        self.assertEqual(0, status, said)

    def test_builds_a_program_for_msvc(self):
        # CMake cannot link a whole program before the project says how.
        folder = self.build("msvc", "msvc_link.c", "msvc_project.cmake", "-DCMAKE_C_COMPILER=clang",
                            "-DCMAKE_C_COMPILER_TARGET=x86_64-pc-windows-msvc", "-DCMAKE_TRY_COMPILE_TARGET_TYPE=STATIC_LIBRARY")
        needed = Image((folder / "msvc_link.exe").read_bytes()).imports()
        self.assertEqual({"pellora.dll": {"PELLORA_Fini"}, "selvikdcm.dll": {"SELVIK_DCM_GetErrorText"},
                          "drovel.dll": {"Kavun_FreePort"}, "kernel32.dll": {"ExitProcess"}}, needed)
        status, said = self.run_there(folder / "msvc_link.exe")
        self.assertEqual(0, status, said)

    def test_is_told_by_cmake_that_linux_is_not_meant(self):
        project = self.home / "linux"
        project.mkdir()
        (project / "CMakeLists.txt").write_text("cmake_minimum_required(VERSION 3.16)\nproject(Wrong LANGUAGES C)\n"
                                                "find_package(Pellora REQUIRED)\n", encoding="utf-8")
        done = subprocess.run(["cmake", "-S", project, "-B", project / "build", f"-DCMAKE_PREFIX_PATH={self.unpacked}"],
                              capture_output=True, text=True, check=False)
        self.assertNotEqual(0, done.returncode)
        self.assertIn("Pellora is for Windows x86-64", done.stderr)


if __name__ == "__main__":
    BUILD = Path(sys.argv.pop(1)).resolve()
    unittest.main()
