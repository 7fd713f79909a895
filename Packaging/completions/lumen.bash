# bash completion for lumen and lumen-smbusd, which tell themselves what a word can be.

# Splits what stands before the cursor into words without quotes, in `words`; the last one, which
# may be empty, is the one to complete, and `quote` is the quote that is open in it.
_lumen_split() {
   local line=${COMP_LINE:0:COMP_POINT} word='' char
   local -i i started=0
   words=() quote=''
   for ((i = 0; i < ${#line}; ++i)); do
      char=${line:i:1}
      if [[ $char == "$quote" ]]; then
         quote=''
      elif [[ $char == '\' && $quote != "'" ]]; then
         ((++i))
         word+=${line:i:1}
      elif [[ -z $quote && $char == [\"\'] ]]; then
         quote=$char started=1
      elif [[ -z $quote && $char == [[:space:]] ]]; then
         if ((started || ${#word})); then
            words+=("$word")
         fi
         word='' started=0
      else
         word+=$char
      fi
   done
   words+=("$word")
}

_lumen() {
   local -a words lines
   local quote line word last before=''
   _lumen_split
   last=${words[-1]}
   mapfile -t lines < <("${1/#\~\//$HOME/}" __complete "${words[@]:1}" 2>/dev/null)
   COMPREPLY=()
   case ${lines[0]-} in
      :files | :directories)
         [[ $last == -*=* ]] && last=${last#*=}
         compopt -o filenames 2>/dev/null
         [[ ${lines[0]} == :files ]] && line=-f || line=-d
         mapfile -t COMPREPLY < <(compgen "$line" -- "$last")
         return
         ;;
   esac
   # Of a word with one of the characters at which readline breaks words, only the end is replaced.
   if [[ -z $quote && $last == *"$2" && ${#2} -lt ${#last} ]]; then
      before=${last:0:${#last}-${#2}}
   fi
   for line in "${lines[@]}"; do
      word=${line%%$'\t'*}
      word=${word#"$before"}
      [[ $quote ]] || printf -v word %q "$word"
      COMPREPLY+=("$word")
   done
   if [[ ${#COMPREPLY[@]} -eq 1 && ${COMPREPLY[0]} == *= ]]; then
      compopt -o nospace 2>/dev/null
   fi
}

complete -F _lumen lumen lumen-smbusd
