# bash completion for lumen-smbusd: that of lumen, which lies beside it.
. "${BASH_SOURCE[0]%lumen-smbusd*}lumen${BASH_SOURCE[0]##*lumen-smbusd}"
