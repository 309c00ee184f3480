#!/usr/bin/env python3
"""What belongs together in the tree and no compiler sees: documents and files, lists that must agree. Needs no build."""

import re
import sys
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
sys.dont_write_bytecode = True  # the checkout holds sources only
sys.path += [str(ROOT / "tests" / "media"), str(ROOT / "tests" / "cameras")]
import camera_clips  # noqa: E402
import make_media  # noqa: E402

CODE = {".h", ".hpp", ".c", ".cpp", ".py", ".sh", ".txt", ".cmake"}
FOLDERS = ["base", "bench", "cmake", "companion", "device", "Drovel", "ffmpeg", "gdi", "hosts", "interface", "logging", "player", "preview",
           "rules", "tests", "threadpool", "tools", "VideoWindow"]
# FFmpeg's decoders of pictures by the codec's name where it is another one.
CODEC_OF_DECODER = {"libdav1d": "av1"}
# Old formats in which nobody records any more; FFmpeg's encoders no longer know the first one.
WITHOUT_A_CLIP = {"msmpeg4v1", "h263", "flv"}
# Read by the device library, and not played from files.
FOR_CAMERAS = {"rtsp", "sdp", "rtp", "wav", "aac", "mp3", "g722", "g726", "g726le"}


def read(path):
    return (ROOT / path).read_text(encoding="utf-8")


def code():
    for folder in FOLDERS:
        for path in sorted((ROOT / folder).rglob("*")):
            if path.suffix in CODE and path.name != Path(__file__).name:
                yield path.relative_to(ROOT), path.read_text(encoding="utf-8")


def rows(path):
    """The cells of each row of each table of a document."""
    for line in read(path).splitlines():
        if line.startswith("| ") and not line.startswith("| ---"):
            yield [cell.strip() for cell in line.strip("|").split(" | ")]


def paths_in(text):
    """What is named as a file or folder of the source tree."""
    for word in re.findall(r"`([\w.-]+(?:/[\w.-]+)*/?)`", text):
        if word.split("/")[0] in [*FOLDERS, "deps", "docs", "resources"] or re.fullmatch(r"[A-Z_]+\.md", word):
            yield word


def documents():
    """All but the decisions, which tell of their time."""
    return [*ROOT.glob("*.md"), *(ROOT / "docs").glob("*.md")]


def pinned(dependency):
    for line in read("deps/sources.tsv").splitlines():
        if line.startswith(dependency + "\t"):
            return line.split("\t")[1]
    raise AssertionError(dependency)


def components(kind):
    """What FFmpeg is built with, line by line."""
    found = re.findall(rf"--enable-{kind}=(\S+)", read("deps/recipes/ffmpeg-components.sh"))
    return [line.split(",") for line in found]


class Documents(unittest.TestCase):
    def test_name_files_that_exist(self):
        count = 0
        for document in documents():
            for path in paths_in(document.read_text(encoding="utf-8")):
                count += 1
                self.assertTrue((ROOT / path).exists(), f"{document.name} names {path}, which is not there")
        self.assertGreater(count, 100)

    def test_link_to_files_that_exist(self):
        for document in [*ROOT.glob("*.md"), *(ROOT / "docs").rglob("*.md")]:
            # What looks like a link in C++ is a function without a name.
            text = re.sub(r"^```.*?^```", "", document.read_text(encoding="utf-8"), flags=re.MULTILINE | re.DOTALL)
            for target in re.findall(r"\]\(([^)#]+)[^)]*\)", text):
                if "://" not in target:
                    self.assertTrue((document.parent / target).exists(), f"{document.relative_to(ROOT)}: {target}")

    def test_tell_the_versions_that_are_built(self):
        text = read("THIRD_PARTY.md")
        for library, dependency in [("Qt (Core, Gui, Widgets)", "qt"), ("FFmpeg", "ffmpeg"), ("dav1d", "dav1d"),
                                    ("libyuv", "libyuv"), ("libjpeg-turbo", "libjpeg-turbo"),
                                    ("Apache log4cxx", "log4cxx"), ("Expat", "expat"), ("pugixml", "pugixml")]:
            self.assertIn(f"| {library} | {pinned(dependency)}", text)


class Compatibility(unittest.TestCase):
    def setUp(self):
        self.entries = [row[0].strip("`") for row in rows("docs/compatibility.md") if row[0] != "entry"]

    def test_has_each_entry_once(self):
        self.assertGreater(len(self.entries), 40)
        self.assertEqual(len(self.entries), len(set(self.entries)))

    def test_is_asked_for_entries_that_it_has(self):
        asked = 0
        for path, text in code():
            for name in re.findall(r"docs/compatibility\.md: ([\w-]*\w)", text):
                asked += 1
                self.assertIn(name, self.entries, str(path))
        self.assertGreater(asked, 2)


class Troubleshooting(unittest.TestCase):
    """The guide quotes log lines: each is one that a source writes, at the level that the guide says."""

    LEVELS = {"logInfo": "INFO", "logWarn": "WARN", "refuse": "WARN", "Warn": "WARN", "logError": "ERROR", "fprintf": None}
    FOLDERS = ["base", "Drovel", "interface", "preview", "VideoWindow"]

    def setUp(self):
        guide = read("docs/host-guide.md").split("### Troubleshooting")[1]
        self.quoted = re.findall(r"`((?:(?:INFO|WARN|ERROR) |Corvane: |Pellora: )[^`]+)`", guide)
        self.written = [text for folder in self.FOLDERS for path in sorted((ROOT / folder).rglob("*.[ch]*"))
                        if "tests" not in path.parts for text in self.texts(path.read_text(encoding="utf-8"))]

    def texts(self, source):
        """The level, None where the source does not tell it, and a pattern of each text of some length."""
        source = re.sub(r"(?ms)^\s*//[^\n]*$|/\*.*?\*/", "", source)
        for match in re.finditer(r'"(?:[^"\\\n]|\\.)*"(?:\s*"(?:[^"\\\n]|\\.)*")*', source):
            text = "".join(re.findall(r'"((?:[^"\\\n]|\\.)*)"', match[0]))
            text = text.replace("\\n", "").replace('\\"', '"').replace("\\\\", "\\")
            parts = re.split(r"%[0-9.-]*l*[a-z]", text)
            if sum(map(len, parts)) >= 10:
                statement = re.split(r"[;{}]", source[:match.start()])[-1]
                calls = [name for name in re.findall(r"\b(\w+)\(", statement) if name in self.LEVELS]
                yield (self.LEVELS[calls[0]] if calls else None), re.compile(".+".join(map(re.escape, parts)))

    def levels_of(self, line):
        """Of the texts that this line can be; one that is refused has its function's name in front."""
        shorter = re.sub(r"^\w+: ", "", line)
        return [level for level, pattern in self.written if pattern.fullmatch(line) or pattern.fullmatch(shorter)]

    def test_quotes_lines_that_are_written(self):
        self.assertGreater(len(self.quoted), 30)
        for quoted in self.quoted:
            level, line = re.fullmatch(r"(?:(INFO|WARN|ERROR) )?(.*)", quoted).groups()
            found = self.levels_of(line)
            self.assertTrue(found, f"no source writes: {line}")
            self.assertTrue(level in found or None in found, f"{line}: {found}")


class Locks(unittest.TestCase):
    # One a process, for good.
    KEPT = {"base/src/base/CLog.cpp": "std::shared_mutex"}
    LEAKING = re.compile(r"\bstd::(?:recursive_|shared_|recursive_timed_|shared_timed_)mutex\b")

    def test_are_none_of_which_something_stays(self):
        """GCC 12 for Windows never destroys these, and an event of the system stays of each that was waited for."""
        for path, text in code():
            if path.suffix in {".h", ".cpp"} and path.parts[0] != "tests" and "tests" not in path.parts:
                lines = [line for line in text.splitlines() if not line.lstrip().startswith("*")]
                found = set(self.LEAKING.findall("\n".join(lines)))
                self.assertLessEqual(found, {self.KEPT.get(str(path))}, f"{path}: preview/ReentrantMutex.h, or std::mutex")


class Codecs(unittest.TestCase):
    def setUp(self):
        self.clips = [clip for clip in make_media.all_clips() if clip.codec]

    def test_have_a_clip_for_each_decoder(self):
        # The first line is that of the pictures.
        decoders = {CODEC_OF_DECODER.get(name, name) for name in components("decoder")[0]}
        self.assertEqual(decoders - WITHOUT_A_CLIP, {clip.codec for clip in self.clips})

    def test_are_pushed_as_live_streams(self):
        text = read("player/tests/live/LiveFeedTest.cpp")
        for codec in {clip.codec for clip in self.clips}:
            files = [clip.file for clip in self.clips if clip.codec == codec]
            self.assertTrue(any(f'"{file}"' in text for file in files), f"no clip of {codec} is pushed")

    def test_are_read_from_the_containers_that_are_built(self):
        built = {name for line in components("demuxer") for name in line}
        played = set(re.search(r'kContainers\[\] = "([^"]+)"', read("player/src/core/Container.h"))[1].split(","))
        # One demuxer has another name in FFmpeg's switches.
        self.assertEqual({name.replace("mpegps", "mpeg") for name in built - FOR_CAMERAS}, played)


class Footage(unittest.TestCase):
    """What tools/footage.sh fetches, what is gone through, and whose it is."""

    def setUp(self):
        script = read("tools/footage.sh")
        films = script[script.index("films() {"):script.index("fail() {")]
        self.films = {(package, film) for package, names in re.findall(r"(\S+)\)\s+echo ([^;]*?)\s*;;", films, re.S)
                      for film in names.split()}
        self.fetched = set(" ".join(re.findall(r"packages\+?=\((.*)\)", script)).split())

    def test_is_gone_through_by_the_player(self):
        tested = set(re.findall(r'\{"([\w.-]+)", "([\w.-]+)", \d+\}', read("player/tests/file/FootageTest.cpp")))
        self.assertEqual(tested, self.films)
        self.assertGreaterEqual(len(self.fetched), 10)

    def test_comes_of_packages_whose_licence_is_told(self):
        self.assertEqual({package for package, _ in self.films}, self.fetched)
        for package in self.fetched:
            self.assertIn(f"`{package}`", read("THIRD_PARTY.md"))


class FuzzTargets(unittest.TestCase):
    MOST_BYTES = 330 * 1000

    def setUp(self):
        self.listed = set()
        for lists in ROOT.glob("*/fuzz/CMakeLists.txt"):
            for name, source in re.findall(r"^pellora_add_fuzz_target\(NAME (\w+) SOURCES (\w+\.cpp)", lists.read_text("utf-8"),
                                           re.MULTILINE):
                self.assertTrue((lists.parent / source).exists(), source)
                self.listed.add(lists.parent / "corpus" / name)

    def test_have_a_corpus_each(self):
        self.assertGreater(len(self.listed), 5)
        self.assertEqual(self.listed, {path for path in ROOT.glob("*/fuzz/corpus/*") if path.is_dir()})
        for corpus in self.listed:
            self.assertTrue(any(corpus.iterdir()), f"{corpus.relative_to(ROOT)} is empty")

    def test_have_the_dictionaries(self):
        for words in ROOT.glob("*/fuzz/corpus/*.dict"):
            self.assertIn(words.with_suffix(""), self.listed)

    def test_have_corpora_that_are_small(self):
        files = [file for corpus in self.listed for file in corpus.iterdir()]
        self.assertLess(sum(file.stat().st_size for file in files), self.MOST_BYTES)


class Cameras(unittest.TestCase):
    def test_are_the_same_in_the_bed_and_in_the_tests(self):
        listed = re.findall(r'\{"(\w+)", (\d+)', read("tests/cameras/CameraBed.cpp"))
        kinds = [camera for camera in camera_clips.all_cameras() if "/" not in camera.path]
        self.assertEqual([(path, int(identity)) for path, identity in listed],
                         [(camera.path, camera.identity) for camera in kinds])


if __name__ == "__main__":
    unittest.main()
