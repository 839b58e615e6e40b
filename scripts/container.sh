#!/usr/bin/env bash
# Follows the Dockerfile line by line without Docker: its base image is a fresh Debian made by
# mmdebstrap, its RUN lines run in that by chroot. The program that comes out is called as a
# BIDS-App on a generated dataset: as root, and as a user that the system does not know, with raw data
# and system read-only and without a network or a home folder. Both have to give the same bytes, but
# for the pages, which have the time.
# Usage: scripts/container.sh
set -euo pipefail
cd "$(dirname "$0")/.."

cannot() { # WHY
  echo "The Dockerfile cannot be followed here: $1" >&2
  exit 1
}

[ "$(id -u)" -eq 0 ] || cannot "chroot and mounts need root."
command -v mmdebstrap >/dev/null || cannot "there is no mmdebstrap; scripts/dev.sh container installs it."
# Mounts are made in a namespace of their own and end with it, so that nothing can be removed
# through one of them.
if [ -z "${MIREL_CONTAINER_WORK:-}" ]; then
  unshare --mount --propagation private true 2>/dev/null || cannot "no mounts are allowed."
  work=$(mktemp -d)
  trap 'rm -rf --one-file-system "$work"' EXIT
  MIREL_CONTAINER_WORK=$work unshare --mount --propagation private "$PWD/scripts/container.sh"
  exit
fi
work=$MIREL_CONTAINER_WORK
chmod 755 "$work"

root=   # of the stage
folder=/  # by WORKDIR
entry=

enter() { # COMMAND...: in the root of the stage, with the environment that Docker gives
  env -i PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin HOME=/root \
    DEBIAN_FRONTEND=noninteractive ${CMAKE_BUILD_PARALLEL_LEVEL:+CMAKE_BUILD_PARALLEL_LEVEL=$CMAKE_BUILD_PARALLEL_LEVEL} \
    chroot "$root" "$@"
}

startStage() { # IMAGE [as NAME]
  local name=${3:-last} suite=${1#debian:}
  root=$work/$name
  folder=/
  if [ ! -f "$work/base.tar" ]; then
    echo "== a fresh Debian ${suite%-slim}"
    mmdebstrap --quiet --variant=minbase "${suite%-slim}" "$work/base.tar" > "$work/base.log" 2>&1 ||
      cannot "$(tail -n 1 "$work/base.log")"
  fi
  mkdir "$root"
  tar -xf "$work/base.tar" -C "$root"
  cp /etc/resolv.conf /etc/hosts "$root/etc/"
  mount -t proc proc "$root/proc"
  mount --rbind /dev "$root/dev"
}

copy() { # [--from=STAGE] FROM TO
  local from=$PWD/$1 to
  case $1 in --from=*) from=$work/${1#--from=}$2; shift ;; esac
  to=$root$2
  if [ "$1" = . ]; then
    mkdir -p "$to"
    # shellcheck disable=SC2046
    tar --create $(sed 's|^|--exclude=./|' .dockerignore) --anchored . | tar --extract -C "$to" --no-same-owner
  else
    mkdir -p "$(dirname "$to")"
    cp -r "$from" "$to"
  fi
}

follow() { # INSTRUCTION ARGUMENTS, one line
  local instruction=$1 arguments=$2
  local -a words
  read -r -a words <<< "$arguments"
  echo "== $instruction $arguments"
  case $instruction in
    FROM) startStage "${words[@]}" ;;
    COPY) copy "${words[@]}" ;;
    WORKDIR) folder=$arguments; mkdir -p "$root$folder" ;;
    RUN) enter /bin/sh -c "cd $folder && $arguments" > "$work/run.log" 2>&1 ||
      { tail -n 20 "$work/run.log" >&2; exit 1; } ;;
    ENV) ;;
    ENTRYPOINT) entry=$(sed 's/[][",]/ /g' <<< "$arguments") ;;
    *) cannot "$instruction is not known to this script." ;;
  esac
}

# The program as Docker starts it: the image read-only but for what is mounted.
app() { # USER COMMAND...
  local user=$1
  shift
  unshare --net chroot --userspec="$user:$user" "$root" \
    /usr/bin/env -i PATH=/opt/mirel/bin:/usr/bin:/bin "$@"
}

checksums() { # FOLDER
  (cd "$1" && find . -type f ! -path './logs/*' ! -name '*.html' -print0 | sort -z | xargs -0 sha256sum)
}

sed -e ':again; /\\$/{N; s/\\\n */ /; t again}' -e '/^#/d; /^$/d' Dockerfile > "$work/lines"
while read -r instruction arguments <&3; do follow "$instruction" "$arguments"; done 3< "$work/lines"
[ -n "$entry" ] || cannot "the Dockerfile has no ENTRYPOINT."

echo "== a generated dataset, as a BIDS-App"
mkdir -p "$work"/{data,byroot,byuser} "$root/data" "$root/out"
chown 12345:12345 "$work/byuser"
mount --bind "$work/data" "$root/data"
enter /opt/mirel/bin/mirel phantom --bids /data/raw --subjects 4 --size 32 36 24 --voxel 6 >/dev/null
umount "$root/data"
mount --bind "$work/data/raw" "$root/data"
mount -o remount,bind,ro "$root/data"
mount --rbind "$root" "$root"
mount -o remount,bind,ro "$root"
for user in 0:byroot 12345:byuser; do
  mount --bind "$work/data/raw" "$root/data"
  mount -o remount,bind,ro "$root/data"
  mount --bind "$work/${user#*:}" "$root/out"
  # shellcheck disable=SC2086
  for level in participant group; do app "${user%:*}" $entry /data /out "$level" 2>&1 | tail -n 1; done
  umount "$root/out" "$root/data"
done
[ -z "$(find "$work/byuser" ! -user 12345)" ] || { echo "Not all results belong to the user." >&2; exit 1; }
diff <(checksums "$work/byroot") <(checksums "$work/byuser")
echo "$(checksums "$work/byuser" | wc -l) files, the same by root and by another user"
