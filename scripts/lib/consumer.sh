# consumer.sh - uses what is installed as a user does. To be sourced by bash.

# hear_the_host SERVER HOST [OPTIONS...]: starts the example server and lets the installed host set a
# level. Fails unless the server prints what was set.
hear_the_host() {
  local server=$1 ports heard i
  shift
  ports=$(mktemp -d)
  XDG_RUNTIME_DIR=$ports "$server" >"$ports/heard" 2>&1 &
  local process=$!
  for ((i = 0; i < 300; ++i)); do
    grep -q '^waiting at ' "$ports/heard" && break
    sleep 0.1
  done
  if ! XDG_RUNTIME_DIR=$ports "$@" set level 1.0 0.5 --channel 2 >"$ports/said" 2>&1; then
    cat "$ports/said" >&2
    kill "$process"
    return 1
  fi
  kill "$process"
  wait "$process"
  heard=$(tail -n +2 "$ports/heard")
  rm -rf "$ports"
  if [ "$heard" != 'device 258, parameter -249: channel 2, 0.00 dB, -6.02 dB' ]; then
    echo "the server heard: $heard" >&2
    return 1
  fi
}

# watch_the_volume PROGRAM: fails unless README's example prints what README says.
watch_the_volume() {
  local printed
  printed=$("$1") || return 1
  if [ "$printed" != 'volume.changed: -6.5 dB' ]; then
    echo "the example printed: $printed" >&2
    return 1
  fi
}

# write_consumer FOLDER EXAMPLES FRAMEWORK [LINE]: a project of README's example and the server. LINE
# finds the targets.
write_consumer() {
  local folder=$1 examples=$2 framework=$3
  local line=${4:-find_package(QX 0.1 REQUIRED COMPONENTS Framework Platform Protocol)}
  mkdir -p "$folder"
  cp "$examples/VolumeWatcher.cpp" "$examples/LevelServer.cpp" "$folder"
  cat >"$folder/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.25)
project(Consumer LANGUAGES CXX)
$line
add_executable(watcher VolumeWatcher.cpp)
target_link_libraries(watcher PRIVATE $framework)
add_executable(server LevelServer.cpp)
target_link_libraries(server PRIVATE QX::Protocol)
END
}
