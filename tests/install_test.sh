#!/bin/sh
# An outsider's view: installs the build below itself, and builds and looks with nothing else.
# usage: install_test.sh SOURCEFOLDER BUILDFOLDER    (prints the Test Anything Protocol)
set -u
source=$1 build=$2
stage=$build/tests/installed
work=$build/tests/install-test
rm -rf "$stage" "$work"
mkdir -p "$work"
cd "$work" || exit

number=0
check() { # NAME COMMAND...
	name=$1
	shift
	number=$((number + 1))
	if "$@" >"$work/output" 2>&1; then
		echo "ok $number $name"
	else
		echo "not ok $number $name"
		sed 's/^/# /' "$work/output"
	fi
}

flags() { # KIND...
	PKG_CONFIG_PATH=$(dirname "$(find "$stage" -name animation.pc)") pkg-config "$@" animation
}

install_tree() {
	DESTDIR=$stage meson install -C "$build" --no-rebuild || return
	# What a package manager's unpacking below another root folder calls for.
	sed -i "s|^prefix=|prefix=$stage|" "$(find "$stage" -name animation.pc)"
	[ -n "$(find "$stage" -name 'libanimation.so.*')" ] && flags --libs
}

header_alone() { # HEADER COMPILER STANDARD
	printf '#include <%s>\ntypedef int not_empty;\n' "$1" >header.c
	# shellcheck disable=SC2046 # flags fall apart into words
	$2 -std="$3" -Wall -Wextra -pedantic -Werror -fsyntax-only $(flags --cflags) header.c
}

# Whether a pixel of a snapshot is of about that colour: how far an animation has come by a frame
# depends on the machine.
pixel_is() { # PNG X Y RED GREEN BLUE
	gst-launch-1.0 -q filesrc location="$1" ! pngdec ! videoconvert ! video/x-raw,format=RGB ! \
		filesink location=pixels
	od -An -tu1 -j $((($3 * 2304 + $2) * 3)) -N 3 pixels | tee /dev/stderr | awk \
		-v red="$4" -v green="$5" -v blue="$6" 'function near(a, b) { return (a - b) ^ 2 <= 400 }
		{ exit !(near($1, red) && near($2, green) && near($3, blue)) }'
}

# Builds an example, runs it in the installed host until it has drawn 10 pictures, and compares a
# pixel of the last one on each display.
program() { # COMPILER FILE ARGUMENT LEFT-PIXEL RIGHT-PIXEL
	example=${2%.*}
	cp "$source/examples/$2" .
	# shellcheck disable=SC2046
	$1 -Wall -Wextra -Werror "$2" -o "$example" $(flags --cflags --libs) || return
	LD_LIBRARY_PATH=$library timeout 60 "$host" \
		--frames 10 --snapshot "10=$example.png" -- "./$example" "$3" || return
	# shellcheck disable=SC2086 # coordinates and channels
	pixel_is "$example.png" $4 && pixel_is "$example.png" $5
}

functions_declared() {
	for header in $headers; do
		echo "#include <$header>"
	done >all.c
	# shellcheck disable=SC2046
	cc -std=c11 -fsyntax-only -aux-info declared $(flags --cflags) all.c
	include=$(dirname "$(find "$stage" -path '*/animation/animation.h')")
	# A line reads: /* FILE:LINE:NC */ extern TYPE NAME (PARAMETERS);
	sed -n "s|^/\* ${include%/*}[^ ]* \*/ extern \([^(]*\) (.*|\1|p" declared | sed 's/.*[ *]//'
}

variables_declared() {
	find "$stage" -name '*.h' -exec \
		sed -n 's/^extern [^()]*[ *]\([A-Za-z_0-9]*\);.*/\1/p' {} +
}

exported() {
	nm -D --defined-only "$library/libanimation.so" | awk '{print $3}'
}

# What applications see of the library is what the headers say, and nothing that is only ours.
exports_are_the_headers() {
	{ functions_declared; variables_declared; } | sort -u >declared-names
	exported | sort -u >exported-names
	[ -s declared-names ] && diff declared-names exported-names
}

# The start values fit their records, field by field, and leave no compiler anything to say.
start_values() { # COMPILER STANDARD
	cat >start_values.c <<-'END'
		#include <animation/animation.h>
		static Backgroud_animationpara background = ANIMATION_BACKGROUND_INIT;
		static Flash_animationpara flash = ANIMATION_FLASH_INIT;
		static TexCut_animationpara cut = ANIMATION_TEX_CUT_INIT;
		static FadeInOutLoop_animationpara fade = ANIMATION_FADE_INIT;
		static GraduallyDispLoop_animationpara gradual = ANIMATION_GRADUAL_INIT;
		static SeqLoop_animationpara sequence = ANIMATION_SEQUENCE_INIT;
		static VideoGST_animationpara streamed = ANIMATION_VIDEO_INIT;
		static VideoRAW_animationpara raw = ANIMATION_VIDEO_INIT;
		int main(void)
		{
			TextureArray set = ANIMATION_TEXTURES_INIT;
			InPosition2D strip = ANIMATION_STRIP_INIT;
			return !(set.mask_index == ANIMATION_NO_TEXTURE && set.alpha_index == ANIMATION_NO_TEXTURE &&
				set.tex_num == 0 && set.constant_color[3] == 1 && strip.position2d == NULL &&
				background.update && flash.on_frame && flash.on_alpha == 1 && flash.update &&
				cut.update && fade.sin_frame && fade.in_alpha == 1 && fade.update &&
				gradual.in_alpha == 1 && gradual.gmode_hide && gradual.update &&
				sequence.seq_hide && sequence.update && streamed.update && raw.update);
		}
	END
	# shellcheck disable=SC2046
	$1 -std="$2" -Wall -Wextra -Wpedantic -Werror start_values.c -o start_values $(flags --cflags) &&
		./start_values
}

# Nothing installed looks for libraries in a folder of the build: a library nowhere, a program below
# its own prefix.
run_paths() {
	find "$stage" -type f \( -name 'lib*.so*' -o -perm -u+x \) >installed
	grep -q animation-play installed || return
	while read -r file; do
		readelf -dW "$file" | grep -E 'R(UN)?PATH' >run-path || continue
		case $file in
		*/bin/*) grep -qF "[\$ORIGIN/../${library##*/local/}:" run-path && continue ;;
		esac
		echo "in $file" && cat run-path && return 1
	done <installed
}

# Every program tells its version, has a page, and names in its help every option of the page.
manual() {
	find "$stage" -path '*/bin/animation-*' >programs
	[ -s programs ] && [ -n "$(find "$stage" -path '*/man5/animation-scene.5')" ] || return
	while read -r program; do
		tool=${program##*/}
		[ "$("$program" --version)" = "$tool $(flags --modversion)" ] || return
		"$program" --help >help || return
		man -l "$(find "$stage" -path "*/man1/$tool.1")" |
			sed -n '/^OPTIONS/,/^[A-NP-Z]/s/^ *\(--[a-z]*\).*/\1/p' >options
		grep -q -e --help options || return
		while read -r option; do
			grep -q -e "$option" help || ! echo "no $option in the help of $tool" || return
		done <options
	done <programs
}

# As a user's own prefix may: from its own place, and nothing told to the loader.
showcase() {
	timeout 60 "$host" --frames 12 --snapshot 12=showcase.png -- "${host%host}play" \
		"$(find "$stage" -path '*/scenes/showcase.json')" 2>errors
	[ ! -s errors ] || ! cat errors || return
	pixel_is showcase.png 12 12 "$1" "$2" "$3"
}

application() { # FOLDER: where both examples' sources lie below the name of their build system
	mkdir -p "$1/subprojects"
	cp "$source/examples/minimal.c" "$source/examples/gauge.cpp" "$1"
	# The lines below this application's name in the README.
	sed -n "\|^    # $1/$2\$|,/^\$/s/^    //p" "$source/README.md" >"$1/$2"
	[ -s "$1/$2" ]
}

# Both examples, built, start and end as they should.
examples_run() { # FOLDER
	./"$1"/minimal 2>usage
	grep -q '^usage: minimal' usage && timeout 60 "$host" -- "$1/gauge" 1
}

by_cmake() {
	application by-cmake CMakeLists.txt &&
		cmake -S by-cmake -B by-cmake/build "-Danimation_DIR=$(dirname \
			"$(find "$stage" -name animationConfig.cmake)")" -DCMAKE_CXX_FLAGS='-Wall -Werror' &&
		cmake --build by-cmake/build && examples_run by-cmake/build
}

# Also into a prefix of one's own, without root: masks and all.
by_subproject() {
	own=$work/own
	application by-subproject meson.build && application by-subproject subprojects/animation.wrap &&
		ln -s "$source" by-subproject/subprojects/animation &&
		meson setup by-subproject/build by-subproject --prefix="$own" -Dwerror=true \
			-Danimation:mask_dir=share/animation/masks &&
		meson install -C by-subproject/build && examples_run by-subproject/build &&
		[ -s "$own/share/animation/masks/GL.bmp" ] &&
		grep -qF "$own/share/animation/masks/" "$(find "$own" -name libanimation.so)"
}

readme_quotes_example() {
	# shellcheck disable=SC2016 # a fence, no command
	sed -n '/^```c$/,/^```$/p' "$source/README.md" | sed '1d;$d' | diff - "$source/examples/minimal.c"
}

check 'meson install leaves library, headers and animation.pc' install_tree
library=$(dirname "$(find "$stage" -name libanimation.so)")
host=$(find "$stage" -path '*/bin/animation-host')
headers=$(cd "$stage" && find . -name '*.h' | sed 's|.*/animation/\([a-z]*/[a-z]*\.h\)$|\1|')
for header in $headers; do
	check "<$header> as C11, alone" header_alone "$header" 'cc -x c' c11
	check "<$header> as C++, alone" header_alone "$header" 'c++ -x c++' c++11
done
check 'start values in C11' start_values 'cc -x c' c11
check 'start values in C++11' start_values 'c++ -x c++' c++11
check 'start values in C++20' start_values 'c++ -x c++' c++20
check 'a C11 program' program 'cc -std=c11 -D_DEFAULT_SOURCE' \
	minimal.c "$build/scenes/map_day.png" '576 520 255 255 255' '1728 288 0 0 0'
check 'a C++ program' program 'c++ -std=c++20' \
	gauge.cpp 5 '576 288 0 0 0' '1330 288 20 100 40'
check "the README's program is examples/minimal.c" readme_quotes_example
check 'exported symbols' exports_are_the_headers
check 'run paths' run_paths
check 'manual pages and help' manual
check 'the installed showcase' showcase 43 40 89
check 'the examples by CMake' by_cmake
check 'the examples as a subproject' by_subproject
echo "1..$number"
