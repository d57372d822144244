# The Debian packages that the scripts install; sourced by run.sh and test.sh.

# The compiler, build tools and libraries of the editor, and the font that it shows.
build_packages=(g++ cmake ninja-build ccache qt6-base-dev libgl-dev libcli11-dev libssl-dev nlohmann-json3-dev fonts-dejavu-core)

# The tests need more: a fast linker, the test framework, and an X server that real key events go to.
test_packages=(mold libgtest-dev libgmock-dev xvfb xdotool xclip openbox x11-utils dbus-bin dbus-daemon at-spi2-core)

# The script that draws the folders; a test checks that the drawing is current.
test_packages+=(python3)

# The character sets for `localedef`; a test makes a locale with a decimal comma.
test_packages+=(locales)

# Standard tools whose output the tests compare the editor's with.
test_packages+=(xxd srecord binutils diffutils openssl acpica-tools)

# A formatter and a checker of manual pages, and the shells that have completions beside bash.
test_packages+=(groff-base mandoc zsh fish)
