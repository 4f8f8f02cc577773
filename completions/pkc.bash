# Completion of pkc for bash. What is not completed here is the name of a file.
_pkc() {
  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]} words=
  local verb=${COMP_WORDS[1]}
  COMPREPLY=()
  if ((COMP_CWORD == 1)); then
    verb= words='show verify'
  fi
  case $prev in
    --charset) words='utf-8 euc-kr euc-jp shift-jis' ;;
    --dn-case) words='lower upper' ;;
    --usage) words='server client code email timestamp ocsp sign encipher' ;;
    --at) compopt +o default; return ;;
  esac
  if [[ $cur == -* ]]; then
    words=--help
    case $verb in
      '') words+=' --version' ;;
      show) words+=' --recursive --json --ndjson --charset --dn-case' ;;
      verify) words+=' --trust --issuer --crl --at --usage --json' ;;
    esac
  fi
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$cur")
}
complete -o default -F _pkc pkc
