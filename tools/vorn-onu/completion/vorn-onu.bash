# Completion of vorn-onu for bash.
_vorn_onu() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]}
    local options
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        COMPREPLY=($(compgen -W "run send audit omci exec ls at diff info schema help --help --version" -- "$word"))
        return
    fi
    case $command in
        run) options="--trace --json --board --report --audit --pcap --hal-output --real-time --quiet --strict --junit --jobs
                      --stay --name --metrics --tap --after-step --forwarding" ;;
        send) options="--from --vlan --pbits --tpid --dei --ethertype --protocol --dscp --source --destination
                       --after-step --forwarding --json --payload --both-ways --pcap-in --pcap" ;;
        audit) options="--strict --after-step --forwarding --json" ;;
        omci) options="--listen --until --from --vlan --pbits --tpid --dei --ethertype --protocol --dscp --source
                       --destination --payload --both-ways --json --report --pcap --record --quiet --name --metrics --audit --tap
                       --forwarding --strict --layout --peer --keep --mic --serial --serial-from-hostname
                       --mac --board --capture --log --values --bytes --class --instance --type" ;;
        info | diff | ls) options="--json" ;;
        at) options="--json --port --follow --failed --last --tree --values --bytes --class --instance --type --from --vlan --pbits --tpid --dei --ethertype --protocol --dscp --source
                    --destination --payload --both-ways" ;;
        schema) options="--state" ;;
        help) options="--man" ;;
        exec) options="--trace --json --board --serial --serial-from-hostname --mac --report --pcap --hal-output --record --forwarding --name --metrics --tap --quiet" ;;
        *) options="" ;;
    esac
    case $command:$before in
        *:--forwarding) COMPREPLY=($(compgen -W "contract g988" -- "$word")) ;;
        omci:--listen) COMPREPLY=($(compgen -W "unix: udp:127.0.0.1:" -- "$word")) ;;
        send:--from | omci:--from) COMPREPLY=($(compgen -W "sid0 sid1 sid2 sid3 sid4 sid5 sid6 sid7 eth0 eth1 veip0" -- "$word")) ;;
        send:--ethertype | omci:--ethertype) COMPREPLY=($(compgen -W "ipv4 ipv6 arp 0x8863 0x8864" -- "$word")) ;;
        send:--protocol | omci:--protocol) COMPREPLY=($(compgen -W "igmp udp tcp" -- "$word")) ;;
        send:--vlan | send:--pbits | send:--tpid | send:--dscp | send:--source | send:--destination | send:--after-step | audit:--after-step | run:--after-step | send:--payload) ;;
        omci:--mic) COMPREPLY=($(compgen -W "crc cmac: none" -- "$word")) ;;
        omci:--class | omci:--instance | omci:--type) ;;
        omci:--vlan | omci:--pbits | omci:--tpid | omci:--dscp | omci:--source | omci:--destination | omci:--payload | omci:--until) ;;
        at:at) COMPREPLY=($(compgen -W "$(vorn-onu ls --json 2>/dev/null | sed -n 's/^    "name": "\(.*\)",*$/\1/p')" -- "$word")) ;;
        at:*)
            if [ "$COMP_CWORD" -eq 3 ]; then
                COMPREPLY=($(compgen -W "show trace watch send metrics serve omci mib call gateway board advance fault frame expect mark step" -- "$word"))
            else
                COMPREPLY=($(compgen -W "$options --help" -- "$word"))
            fi
            ;;
        exec:--) COMPREPLY=($(compgen -c -- "$word")) ;;
        *)
            if [[ $word == -* ]]; then
                COMPREPLY=($(compgen -W "$options --help" -- "$word"))
            else
                compopt -o filenames 2>/dev/null
                COMPREPLY=($(compgen -f -- "$word"))
            fi
            ;;
    esac
}
complete -F _vorn_onu vorn-onu
