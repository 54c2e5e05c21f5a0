# Unpacks `wheel` where Debian's Python looks for modules.
set(folder $ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/lib/python3/dist-packages)
file(ARCHIVE_EXTRACT INPUT ${wheel} DESTINATION ${folder})
# Without a list of its files pip leaves alone what is not its own. The licence is where Debian has it.
file(GLOB not_debian ${folder}/kxcam-*.dist-info/RECORD ${folder}/kxcam-*.dist-info/LICENSE
     ${folder}/kxcam-*.dist-info/licenses)
file(REMOVE_RECURSE ${not_debian})
