#!/usr/bin/env zsh
# Has an interactive zsh complete the end of a line, and prints what it offers, one a line.
# Usage: zsh_matches.zsh FOLDER_OF_COMPLETION LINE
emulate -R zsh
zmodload zsh/zpty || exit 1
folder=$1 line=$2
offered=$(mktemp) ready=$(mktemp -u)
trap 'rm -f $offered $ready; zpty -d shell 2>/dev/null' EXIT

# Whatever is offered in the inner shell goes through compadd.
setup=$(mktemp)
cat >$setup <<END
PS1= PS2= RPS1=
fpath=(${(q)folder} \$fpath)
autoload -Uz compinit && compinit -u -D
zstyle ':completion:*' completer _complete
compadd() {
    local -a found
    # These only ask, for the completion's own ends.
    if (( \${@[(I)-[OAD]*]} )); then builtin compadd "\$@"; return; fi
    builtin compadd -O found "\$@"
    (( \$#found )) && print -rl -- \$found >>${(q)offered}
    builtin compadd "\$@"
}
collect() { _main_complete; print done >${(q)ready}; compstate[insert]= compstate[list]= }
zle -C collect list-choices collect
bindkey '^I' collect
END

zpty shell zsh -f -i
zpty -w shell "source $setup; print -r -- LOA''DED"
zpty -r shell answer '*LOADED*' || exit 1
zpty -n -w shell "$line"$'\t'
for ((waited = 0; waited < 1800; ++waited)); do
    [[ -s $ready ]] && break
    # What the shell echoes has to go somewhere.
    zpty -r -t shell answer && continue
    sleep 0.05
done
rm -f $setup
[[ -s $ready ]] || { print -u2 "zsh has not answered"; exit 1 }
sort -u $offered
