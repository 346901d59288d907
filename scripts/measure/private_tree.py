"""A copy of the sources with a build of its own, where mutants are tried; the checkout itself is never changed."""

import os
import shutil
import subprocess
from pathlib import Path

# Optimised a little: a change that makes no difference mostly makes none in the object code either, and so shows itself.
# An index beyond a container's end ends the program instead of reading whatever lies there.
OPTIONS = ["-DCMAKE_BUILD_TYPE=", "-DCMAKE_CXX_FLAGS=-O1", "-DPOINTS_CLOUD_BUILD_BENCH=OFF", "-DPOINTS_CLOUD_BUILD_WORKER=OFF",
           "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON", "-DPOINTS_CLOUD_LIBRARY_OPTIONS=-D_GLIBCXX_ASSERTIONS",
           "-DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST"]


class PrivateTree:
    def __init__(self, root, directory):
        self.root, self.directory = Path(root), Path(directory)
        self.sources, self.build = self.directory / "tree", self.directory / "build"
        self.objects = self.build / "src/CMakeFiles/points_cloud_objects.dir"
        self.original_objects = {}

    def files(self):
        listing = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=self.root,
                                 check=True, capture_output=True, text=True).stdout
        return [name for name in listing.split("\0") if name and (self.root / name).is_file()]

    def update(self):
        """Makes the copy what the checkout is now, and touches nothing that already is."""
        names = self.files()
        for name in names:
            source, target = self.root / name, self.sources / name
            if not target.exists() or target.read_bytes() != source.read_bytes():
                target.parent.mkdir(parents=True, exist_ok=True)
                shutil.copyfile(source, target)
        for path in [path for path in self.sources.rglob("*") if path.is_file()]:
            if str(path.relative_to(self.sources)) not in set(names):
                path.unlink()
        data = self.directory / "shared"
        if not data.exists() and (self.root.parent / "shared").exists():
            data.symlink_to((self.root.parent / "shared").resolve())

    def make(self, coverage):
        """Configures and builds the copy as it is, the library instrumented or not; raises where that fails."""
        subprocess.run(["cmake", "-S", self.sources, "-B", self.build, "-G", "Ninja", *OPTIONS,
                        f"-DPOINTS_CLOUD_COVERAGE={'ON' if coverage else 'OFF'}"], check=True, stdout=subprocess.DEVNULL)
        subprocess.run(["cmake", "--build", self.build], check=True)
        self.original_objects = self.object_codes()

    def object_codes(self):
        return {path: path.read_bytes() for path in self.objects.rglob("*.o")}

    def builds(self, target):
        return subprocess.run(["cmake", "--build", self.build, "--target", target], stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL).returncode == 0

    def is_same_code(self):
        return self.object_codes() == self.original_objects

    def put(self, name, text):
        path = self.sources / name
        path.write_text(text)
        os.utime(path)
