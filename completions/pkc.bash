# Completion of pkc for bash. What is not completed here is the name of a file.
_pkc() {
  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]} words=
  local verb=${COMP_WORDS[1]}
  COMPREPLY=()
  if ((COMP_CWORD == 1)); then
    verb= words='show verify issue vid filter'
  elif ((COMP_CWORD == 2)) && [[ $verb == vid ]]; then
    words='compute verify show'
  fi
  case $prev in
    --charset) words='utf-8 euc-kr euc-jp shift-jis' ;;
    --dn-case) words='lower upper' ;;
    --usage) words='server client code email timestamp ocsp sign encipher' ;;
    --hash) words='SHA1 SHA256 SHA384 SHA512' ;;
    --at | --jobs | --fields | -j) compopt +o default; return ;;
  esac
  if [[ $cur == -* ]]; then
    words=--help
    case $verb in
      '') words+=' --version' ;;
      show | verify)
        words+=' --recursive --files-from --null --resume-from --jobs --json --ndjson --fields'
        words+=' --header --summary'
        ;;&
      show) words+=' --as-request --charset --dn-case' ;;
      verify) words+=' --trust --issuer --crl --at --usage' ;;
      filter) words+=' --json --fields --dn-case --strict' ;;
      issue)
        words+=' --issuer --key --passphrase-file --allow-exposed-key --output --pem --force'
        words+=' --dry-run'
        ;;
      vid) words+=' --idn-file --random-file --random-hex --hash --json' ;;
    esac
  fi
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$cur")
}
complete -o default -F _pkc pkc
