#!/usr/bin/env bash
# Checks what `cmake --install` and CPack deliver, from a built tree:
#   tests/app/install-check.sh BUILD_DIR SOURCE_DIR
# The tool, library, headers, CMake package, pkg-config file, manual pages
# and completions are installed into a scratch prefix; the example program is
# built against that prefix both through find_package(Vivark) and through
# pkg-config and run; the completions are parsed by their shells where
# installed; the Debian package lists the same files.
set -euo pipefail
build=$(cd "$1" && pwd)
source=$(cd "$2" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "install-check: $*" >&2; exit 1; }

prefix=$work/prefix
cmake --install "$build" --prefix "$prefix" >/dev/null
for file in bin/vivark lib/libvivark_core.a include/vivark/core/Image.h \
            include/vivark/formats/Registry.inc lib/cmake/Vivark/VivarkConfig.cmake \
            lib/pkgconfig/vivark.pc share/man/man1/vivark.1 share/man/man1/vivark-convert.1 \
            share/bash-completion/completions/vivark share/zsh/vendor-completions/_vivark \
            share/fish/vendor_completions.d/vivark.fish; do
  [[ -e $prefix/$file ]] || fail "$file is not installed"
done
# One page per subcommand, each naming its options.
for command in info convert settings jpeg-transform formats; do
  [[ -e $prefix/share/man/man1/vivark-$command.1 ]] || fail "no manual page for $command"
done
grep -q -- '\\-\\-allow\\-damaged' "$prefix/share/man/man1/vivark-convert.1" \
  || fail "the convert page lacks --allow-damaged"
if command -v man >/dev/null; then
  MANWIDTH=80 man -l "$prefix/share/man/man1/vivark-convert.1" 2>/dev/null | grep -q -- '--colors' \
    || fail "man cannot render the convert page"
fi
bash -n "$prefix/share/bash-completion/completions/vivark" || fail "bash completion does not parse"
# The bash completion offers convert's options.
words=$(bash -c "source '$prefix/share/bash-completion/completions/vivark'
  COMP_WORDS=(vivark convert --al); COMP_CWORD=2; _vivark; echo \${COMPREPLY[*]}")
[[ $words == *--allow-damaged* ]] || fail "bash completion offers '$words' for --al"
if command -v zsh >/dev/null; then zsh -n "$prefix/share/zsh/vendor-completions/_vivark" || fail zsh; fi
if command -v fish >/dev/null; then fish -n "$prefix/share/fish/vendor_completions.d/vivark.fish" || fail fish; fi

"$prefix/bin/vivark" --version | grep -q vivark || fail "the installed tool does not run"

# The example program against the installed library, both ways.
cmake -S "$source/examples/library" -B "$work/example" -G Ninja \
  -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/example" >/dev/null
"$work/example/image-size" "$source/examples/scene.png" | grep -q '160x120' \
  || fail "the example built with find_package does not read scene.png"
PKG_CONFIG_PATH=$prefix/lib/pkgconfig c++ -std=c++20 -o "$work/image-size-pc" \
  "$source/examples/library/image-size.cpp" $(PKG_CONFIG_PATH=$prefix/lib/pkgconfig pkg-config --cflags --libs --static vivark)
"$work/image-size-pc" "$source/examples/scene.png" | grep -q '160x120' \
  || fail "the example built with pkg-config does not read scene.png"

# The Debian package holds the same files under /usr.
(cd "$work" && cpack --config "$build/CPackConfig.cmake" -B "$work/package" >"$work/cpack.log" 2>&1) \
  || { cat "$work/cpack.log" >&2; fail "cpack failed"; }
deb=$(ls "$work"/package/*.deb)
listing=$(dpkg-deb -c "$deb")
for file in ./usr/bin/vivark ./usr/lib/libvivark_core.a ./usr/include/vivark/core/Image.h \
            ./usr/share/man/man1/vivark.1 ./usr/share/bash-completion/completions/vivark \
            ./usr/lib/pkgconfig/vivark.pc ./usr/lib/cmake/Vivark/VivarkConfig.cmake; do
  grep -q " $file\$" <<<"$listing" || fail "the package lacks $file"
done
dpkg-deb -f "$deb" Depends | grep -q libjpeg || fail "the package does not depend on libjpeg"
echo "install-check: ok ($(basename "$deb"))"
