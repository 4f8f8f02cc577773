# Completion of pkc for fish. What is not completed here is the name of a file.
complete -c pkc -s h -l help -d 'Print a short help'
complete -c pkc -n __fish_use_subcommand -f -l version -d 'Show the versions'
complete -c pkc -n __fish_use_subcommand -f -a show -d 'Show what certificates say'
complete -c pkc -n __fish_use_subcommand -f -a verify -d 'Check certificates'

set -l verb '__fish_seen_subcommand_from show'
complete -c pkc -n $verb -s r -l recursive -d 'Read the files in folders and below'
complete -c pkc -n $verb -l json -d 'Write one JSON document'
complete -c pkc -n $verb -l ndjson -d 'Write one JSON object a line'
complete -c pkc -n $verb -l charset -xa 'utf-8 euc-kr euc-jp shift-jis' -d 'Character set of the text'
complete -c pkc -n $verb -l dn-case -xa 'lower upper' -d 'Case of the labels in names'

set -l verb '__fish_seen_subcommand_from verify'
complete -c pkc -n $verb -l trust -rF -d 'Certificates that are trusted'
complete -c pkc -n $verb -l issuer -rF -d 'Certificates between the two'
complete -c pkc -n $verb -l crl -rF -d 'Revocation lists'
complete -c pkc -n $verb -l at -x -d '2026-01-31T09:00:00Z or seconds since 1970'
complete -c pkc -n $verb -l usage -d 'What the certificate must be allowed to do' \
  -xa 'server client code email timestamp ocsp sign encipher'
complete -c pkc -n $verb -l json -d 'Write one JSON document'
