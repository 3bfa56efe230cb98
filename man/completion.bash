# Completes the options that a program's own help names, and the files that they take.
_animation()
{
	local cur prev words cword place
	_init_completion -n = || return
	for ((place = 1; place < cword; place++)); do
		if [[ ${words[place]} == -- ]]; then # animation-host: the program behind it
			_command_offset $((place + 1))
			return
		fi
	done
	case $prev in
	--record) _filedir mp4 ;;
	--report | --junit) _filedir '@(json|html|xml)' ;;
	--frames | --from | --to | --jobs) ;;
	*)
		if [[ $cur == -* ]]; then
			local options
			options=$("$1" --help 2>/dev/null | grep -o -e '--[a-z][a-z-]*' | sort -u)
			mapfile -t COMPREPLY < <(compgen -W "$options --" -- "$cur")
		else
			_filedir '@(json|png)'
		fi
		;;
	esac
} && complete -F _animation animation-compare animation-host animation-play
